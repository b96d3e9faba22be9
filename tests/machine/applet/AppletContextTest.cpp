// Which processes may use private queues.

#include "machine/support/StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

constexpr DWORD kDenied = ERROR_ACCESS_DENIED, kNoShell = ERROR_NOT_FOUND;

class AppletContextMachine : public StoreMachine {
  protected:
    // Reads the context. Returns the error, 0 for success. Checks that a failure clears the context.
    static DWORD read(bool allowElevated, AppletContext& context) {
        context = {{1, {2, 0}, 3}, {1, 1}, TEXT("C:\\before")};
        DWORD err = 99;
        const bool done = readAppletContext(context, err, allowElevated);
        EXPECT_EQ(done, err == 0);
        const bool isEmpty =
            context.identity == LogonIdentity() && context.userSid.empty() && context.storeRoot.empty();
        EXPECT_EQ(isEmpty, !done);
        return err;
    }
    static DWORD read(bool allowElevated = false) {
        AppletContext ignored;
        return read(allowElevated, ignored);
    }
    struct Case {
        const char *token, *user = "";
        std::string session = "";
    };
    static constexpr const char* kAdministrator = "administrator = yes";
    // Runs on a machine without UAC. Otherwise no high token would reach the rule that the case tests.
    void expectRead(const Case& row, DWORD error, DWORD errorWithElevation) {
        SCOPED_TRACE(row.token + std::string(" ") + row.user + " " + row.session);
        describeOne(row.user, row.session);
        setUac("REG_DWORD", "00000000");
        useToken(row.token);
        EXPECT_EQ(read(false), error);
        EXPECT_EQ(read(true), errorWithElevation);
    }
    using Owner = std::pair<OwnerState, long>;
    Owner look(const LogonIdentity& identity) const { return look(identity, owner()); }
    static Owner look(const LogonIdentity& identity, PSID user) {
        DWORD err = 99;
        const OwnerState state = lookupOwner(identity, user, err);
        return {state, static_cast<long>(err)};
    }
    // Describes a machine with one session, with extra lines for the user, the session and the logons.
    void describeOne(const std::string& user, const std::string& session, const std::string& logons = "") {
        describe("[user operator]\nprofile = C:\\Users\\operator\n" + user + "\n[session 1]\nuser = operator\n" +
                 "logon = 0x3A1F7\n" + session + "\n" + logons);
    }
};

TEST_F(AppletContextMachine, describesTheLogonOfTheProcess) {
    AppletContext found;
    ASSERT_EQ(read(false, found), 0U);
    EXPECT_EQ(found.identity.sessionId, 1U);
    EXPECT_EQ(found.identity.logonId.LowPart, 0x3A1F7U);
    EXPECT_EQ(found.identity.logonId.HighPart, 0);
    EXPECT_EQ(found.identity.logonTime, 0x1DC2F6A5B3C4D10);
    EXPECT_TRUE(IsValidSid(sidOf(found.userSid)));
    EXPECT_EQ(utf8(found.storeRoot), "C:\\Users\\operator\\AppData\\Local\\OmbrelAppletNotes");
}

TEST_F(AppletContextMachine, acceptsOrdinaryUsers) {
    expectRead({"operator@1"}, 0, 0);
    expectRead({"operator@1 0x2100"}, 0, 0);
    expectRead({"operator@1", "", "logon type = 10"}, 0, 0);  // remote desktop
    expectRead({"operator@1", "", "logon type = 11"}, 0, 0);  // cached credentials
    expectRead({"operator@1", kAdministrator, "shell token = operator@1 high"}, 0, 0);
}

TEST_F(AppletContextMachine, refusesEveryoneElse) {
    for (const Case& refused : std::initializer_list<Case>{{"operator@1 low"},
                                                           {"operator@1 0x1FFF"},
                                                           {"operator@1 impersonating"},
                                                           {"SYSTEM@0"},
                                                           {"operator@0 medium"},  // a service that runs as the user
                                                           {"operator@1 high"},
                                                           {"operator@1 0x3001", kAdministrator},
                                                           {"operator@1 logon=0x77"},  // another logon than the shell's
                                                           {"operator@1", "", "logon type = 3"},  // network logon
                                                           {"operator@1", "", "logon data = no"},
                                                           {"operator@1", "", "logon time = 0"}})
        expectRead(refused, kDenied, kDenied);
}

TEST_F(AppletContextMachine, refusesIfTheShellBelongsToAnotherLogon) {
    for (const char* shell :
         {"visitor@1 logon=0x3A1F7", "operator@1 logon=0x77", "operator@2 logon=0x3A1F7", "operator@1 low"})
        expectRead({"operator@1", "", std::string("shell token = ") + shell}, kDenied, kDenied);
    // An administrator is able to open this shell's process, but it is another user's shell.
    expectRead({"operator@1 high", kAdministrator, "shell token = visitor@1 logon=0x3A1F7"}, kDenied, kDenied);
}

TEST_F(AppletContextMachine, acceptsElevatedAdministratorsIfAllowed) {
    expectRead({"operator@1 high", kAdministrator}, kDenied, 0);
    expectRead({"operator@1 high", kAdministrator, "shell = no"}, kDenied, kNoShell);
    expectRead({"operator@1", "", "shell = no"}, kNoShell, kNoShell);
}

// The logon data must match the token.
TEST_F(AppletContextMachine, refusesIfLogonDataAndTokenDisagree) {
    const auto readAs = [&](const std::string& user, const std::string& logonData) {
        const std::string token = user + "@1 medium logon=0x777";
        describeOne("", "shell token = " + token, "[logon 0x777]\n" + logonData);
        useToken(token);
        return read();
    };
    EXPECT_EQ(readAs("operator", "user = operator\nsession = 1\ntime = 5\ntype = 2\n"), 0U);
    EXPECT_EQ(readAs("SYSTEM", "user = SYSTEM\nsession = 1\ntime = 5\ntype = 2\n"), kDenied);
    for (const char* others :
         {"user = visitor\nsession = 1\ntime = 5\ntype = 2\n", "user = operator\nsession = 2\ntime = 5\ntype = 2\n",
          "user = operator\nsession = 1\ntime = 5\ntype = 7\n", "session = 1\ntime = 5\ntype = 2\n"})
        EXPECT_EQ(readAs("operator", others), kDenied) << others;
}

// The ordinary token of an administrator is elevated only on a machine without UAC.
TEST_F(AppletContextMachine, acceptsElevationOnlyWithoutUac) {
    describeOne("administrator = yes", "");
    useToken("operator@1 high");
    EXPECT_EQ(read(true), kDenied) << "no value";
    const std::tuple<const char*, const char*, DWORD> rows[] = {{"REG_DWORD", "00000000", 0},
                                                                {"REG_DWORD", "01000000", kDenied},
                                                                {"REG_BINARY", "00000000", kDenied},
                                                                {"REG_DWORD", "0000", kDenied}};
    for (const auto& [type, value, err] : rows) {
        setUac(type, value);
        EXPECT_EQ(read(true), err) << type << " " << value;
    }
}

TEST_F(AppletContextMachine, everyFailingCallReturnsAnError) {
    describeOne("administrator = yes", "");
    useToken("operator@1 high");
    setUac("REG_DWORD", "00000000");
    DWORD err = 0;
    const auto check = [&](bool fired) {
        const bool isRelease = !notices::takeDebugOutput().empty();  // a failing release call only writes a debug line
        EXPECT_EQ(err == 0, !fired || isRelease);
        EXPECT_TRUE(err == 0 || err == 1234 || err == 5 || err == 1168 ||
                    err == static_cast<DWORD>(HRESULT_FROM_WIN32(1234)))
            << err;
    };
    EXPECT_GT(forEachFailingCall([&] { err = read(true); }, check, 1234), 0U);
}

TEST_F(AppletContextMachine, ownerIsLiveOrGone) {
    const LogonIdentity own = context().identity;
    LogonIdentity later = own;
    ++later.logonTime;
    EXPECT_EQ(look(own), Owner(OwnerState::Live, 0));
    EXPECT_EQ(look(later), Owner(OwnerState::Gone, 0)) << "a tick later";
    EXPECT_EQ(look({5, {0x5C3D1, 0}, 0x1DC30127C5E6F21}), Owner(OwnerState::Gone, 0)) << "another user's";
    EXPECT_EQ(look({2, {0x999, 0}, 1}), Owner(OwnerState::Gone, ERROR_NO_SUCH_LOGON_SESSION)) << "no such logon";
    rewriteMachine("[user operator]\nprofile = C:\\Users\\operator\n");
    EXPECT_EQ(look(own), Owner(OwnerState::Gone, ERROR_NO_SUCH_LOGON_SESSION)) << "logged off meanwhile";
    EXPECT_EQ(faults::openAllocations(), 0U);
}

TEST_F(AppletContextMachine, ownerIsUnknownIfTheLookupFails) {
    const LogonIdentity own = context().identity;
    const Owner invalid(OwnerState::Unknown, ERROR_INVALID_PARAMETER);
    BYTE noSid[12] = {9, 1};
    EXPECT_EQ(look({}), invalid);
    EXPECT_EQ(look(own, nullptr), invalid);
    EXPECT_EQ(look(own, noSid), invalid);
    const std::pair<DWORD, long> failures[] = {{ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
                                               {0x10000, 0}};  // not a Windows error
    for (const auto& [failure, error] : failures)
        EXPECT_EQ(whileFailing("LsaGetLogonSessionData", 1, failure, [&] { return look(own); }),
                  Owner(OwnerState::Unknown, error));
    EXPECT_EQ(faults::openAllocations(), 0U);
}

TEST_F(AppletContextMachine, ownerIsUnknownIfTheLogonIsNotOfAUser) {
    const std::pair<const char*, long> rows[] = {
        {"user = operator\nsession = 1\ntime = 0x5\ntype = 5\n", ERROR_INVALID_DATA},  // logon of a service
        {"user = operator\nsession = 1\ntime = 0x5\ndata = no\n", ERROR_INVALID_DATA},
        {"session = 1\ntime = 0x5\n", ERROR_INVALID_DATA},
        {"user = operator\nsession = 1\ntime = 0\n", 0},  // not a valid identity
        {"user = operator\nsession = 0\ntime = 5\n", 0}};
    for (const auto& [logon, error] : rows) {
        rewriteMachine(kMachine + std::string("[logon 0x777]\n") + logon);
        EXPECT_EQ(look({1, {0x777, 0}, 5}), Owner(OwnerState::Unknown, error)) << logon;
    }
    EXPECT_EQ(faults::openAllocations(), 0U);
}
