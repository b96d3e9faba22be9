// Who may take part in the hand-over of private queues.
#include <windows.h>

#include "StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

class AppletContextMachine : public StoreMachine {
  protected:
    // The error of reading the context, 0 for success. A failure leaves nothing of what was there before.
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
    // A machine of one session, with lines of its own for user, session, and logons besides.
    void describeOne(const std::string& user, const std::string& session, const std::string& logons = "") {
        describe("[user operator]\nprofile = C:\\Users\\operator\n" + user + "\n[session 1]\nuser = operator\n" +
                 "logon = 0x3A1F7\n" + session + "\n" + logons);
    }
};

TEST_F(AppletContextMachine, isThatOfTheLogon) {
    AppletContext found;
    ASSERT_EQ(read(false, found), 0U);
    EXPECT_EQ(found.identity.sessionId, 1U);
    EXPECT_EQ(found.identity.logonId.LowPart, 0x3A1F7U);
    EXPECT_EQ(found.identity.logonId.HighPart, 0);
    EXPECT_EQ(found.identity.logonTime, 0x1DC2F6A5B3C4D10);
    EXPECT_TRUE(IsValidSid(sidOf(found.userSid)));
    EXPECT_EQ(utf8(found.storeRoot), "C:\\Users\\operator\\AppData\\Local\\OmbrelAppletNotes");
}

TEST_F(AppletContextMachine, isRefusedToWhoIsNoOrdinaryUser) {
    struct Row {
        const char* what;
        const char* token;  // of the process
        const char* user;
        const char* session;
        DWORD err;
        DWORD errElevated;  // with an elevated token allowed
    };
    const Row rows[] = {
        {"ordinary user", "operator@1", "", "", 0, 0},
        {"a bit above medium", "operator@1 0x2100", "", "", 0, 0},
        {"low integrity", "operator@1 low", "", "", 5, 5},
        {"just below medium", "operator@1 0x1FFF", "", "", 5, 5},
        {"impersonating", "operator@1 impersonating", "", "", 5, 5},
        {"the system", "SYSTEM@0", "", "", 5, 5},
        {"a service of the user", "operator@0 medium", "", "", 5, 5},
        {"elevated administrator", "operator@1 high", "administrator = yes", "", 5, 0},
        {"no administrator at high integrity", "operator@1 high", "", "", 5, 5},
        {"above high", "operator@1 0x3001", "administrator = yes", "", 5, 5},
        {"without a shell", "operator@1", "", "shell = no", 1168, 1168},
        {"elevated, without a shell", "operator@1 high", "administrator = yes", "shell = no", 5, 1168},
        {"another user's shell", "operator@1", "", "shell token = visitor@1 logon=0x3A1F7", 5, 5},
        {"another user's shell, which an administrator may open", "operator@1 high", "administrator = yes",
         "shell token = visitor@1 logon=0x3A1F7", 5, 5},
        {"shell of another logon", "operator@1", "", "shell token = operator@1 logon=0x77", 5, 5},
        {"shell of another session", "operator@1", "", "shell token = operator@2 logon=0x3A1F7", 5, 5},
        {"shell below medium", "operator@1", "", "shell token = operator@1 low", 5, 5},
        {"elevated shell", "operator@1", "administrator = yes", "shell token = operator@1 high", 0, 0},
        {"a logon of its own beside the shell's", "operator@1 logon=0x77", "", "", 5, 5},
        {"network logon", "operator@1", "", "logon type = 3", 5, 5},
        {"remote desktop", "operator@1", "", "logon type = 10", 0, 0},
        {"cached credentials", "operator@1", "", "logon type = 11", 0, 0},
        {"logon without data", "operator@1", "", "logon data = no", 5, 5},
        {"logon without a time", "operator@1", "", "logon time = 0", 5, 5},
    };
    setUac("REG_DWORD", "00000000");  // or no high token gets as far as the rule that its row names
    for (const Row& row : rows) {
        describeOne(row.user, row.session);
        useToken(row.token);
        EXPECT_EQ(read(false), row.err) << row.what;
        EXPECT_EQ(read(true), row.errElevated) << row.what << ", elevation allowed";
    }
}

// What is known of the logon must agree with the token.
TEST_F(AppletContextMachine, isRefusedWhereTheLogonsDataTellOtherwise) {
    const struct {
        std::string tokenUser, logon;
        DWORD err;
    } rows[] = {{"operator", "user = operator\nsession = 1\ntime = 5\ntype = 2\n", 0},
                {"operator", "user = visitor\nsession = 1\ntime = 5\ntype = 2\n", 5},
                {"operator", "user = operator\nsession = 2\ntime = 5\ntype = 2\n", 5},
                {"operator", "user = operator\nsession = 1\ntime = 5\ntype = 7\n", 5},
                {"operator", "session = 1\ntime = 5\ntype = 2\n", 5},
                {"SYSTEM", "user = SYSTEM\nsession = 1\ntime = 5\ntype = 2\n", 5}};
    for (const auto& row : rows) {
        const std::string token = row.tokenUser + "@1 medium logon=0x777";
        describeOne("", "shell token = " + token, "[logon 0x777]\n" + row.logon);
        useToken(token);
        EXPECT_EQ(read(), row.err) << row.tokenUser << ": " << row.logon;
    }
}

// An administrator's ordinary token is elevated only where the machine runs without UAC.
TEST_F(AppletContextMachine, elevationCountsOnlyWithoutUac) {
    describeOne("administrator = yes", "");
    useToken("operator@1 high");
    EXPECT_EQ(read(true), 5U) << "no value";
    const std::tuple<const char*, const char*, DWORD> rows[] = {{"REG_DWORD", "00000000", 0},
                                                                {"REG_DWORD", "01000000", 5},
                                                                {"REG_BINARY", "00000000", 5},
                                                                {"REG_DWORD", "0000", 5}};
    for (const auto& [type, value, err] : rows) {
        setUac(type, value);
        EXPECT_EQ(read(true), err) << type << " " << value;
    }
}

TEST_F(AppletContextMachine, everyFailingCallIsAnError) {
    describeOne("administrator = yes", "");
    useToken("operator@1 high");
    setUac("REG_DWORD", "00000000");
    DWORD err = 0;
    const auto check = [&](bool fired) {
        const bool isRelease = !notices::takeDebugOutput().empty();  // one that fails is told to the debugger instead
        EXPECT_EQ(err == 0, !fired || isRelease);
        EXPECT_TRUE(err == 0 || err == 1234 || err == 5 || err == 1168 ||
                    err == static_cast<DWORD>(HRESULT_FROM_WIN32(1234)))
            << err;
    };
    EXPECT_GT(forEachFailingCall([&] { err = read(true); }, check, 1234), 0U);
}

TEST_F(AppletContextMachine, ownerIsLookedUp) {
    const LogonIdentity own = context().identity;
    const auto look = [&](const LogonIdentity& identity, DWORD& err) { return lookupOwner(identity, owner(), err); };
    DWORD err = 99;
    EXPECT_EQ(look(own, err), OwnerState::Live);
    EXPECT_EQ(err, 0U);

    LogonIdentity other = own;
    ++other.logonTime;
    EXPECT_EQ(look(other, err), OwnerState::Gone) << "a tick later";
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(look({5, {0x5C3D1, 0}, 0x1DC30127C5E6F21}, err), OwnerState::Gone) << "another user's";
    EXPECT_EQ(look({2, {0x999, 0}, 1}, err), OwnerState::Gone) << "no such logon";
    EXPECT_EQ(err, 1312U);
    EXPECT_EQ(look({}, err), OwnerState::Unknown);
    EXPECT_EQ(err, 87U);
    EXPECT_EQ(lookupOwner(own, nullptr, err), OwnerState::Unknown);
    EXPECT_EQ(err, 87U);

    BYTE noSid[12] = {9, 1};
    EXPECT_EQ(lookupOwner(own, noSid, err), OwnerState::Unknown);
    EXPECT_EQ(err, 87U);

    for (const auto& [failure, told] : {std::pair{5U, 5U}, {0x10000U, 0U}}) {  // the second is no Windows error
        faults::arm({"LsaGetLogonSessionData", 1, faults::Action::Fail, failure});
        EXPECT_EQ(look(own, err), OwnerState::Unknown);
        EXPECT_EQ(err, told);
        faults::clear();
    }
    for (const char* logon : {"user = operator\nsession = 1\ntime = 0x5\ntype = 5\n",  // a service's
                              "user = operator\nsession = 1\ntime = 0x5\ndata = no\n", "session = 1\ntime = 0x5\n"}) {
        rewriteMachine(kMachine + std::string("[logon 0x777]\n") + logon);
        EXPECT_EQ(look({1, {0x777, 0}, 5}, err), OwnerState::Unknown) << logon;
        EXPECT_EQ(err, 13U) << logon;
    }
    for (const char* logon : {"user = operator\nsession = 1\ntime = 0\n", "user = operator\nsession = 0\ntime = 5\n"}) {
        rewriteMachine(kMachine + std::string("[logon 0x777]\n") + logon);
        EXPECT_EQ(look({1, {0x777, 0}, 5}, err), OwnerState::Unknown) << "no identity: " << logon;
        EXPECT_EQ(err, 0U) << logon;
    }
    rewriteMachine("[user operator]\nprofile = C:\\Users\\operator\n");
    EXPECT_EQ(look(own, err), OwnerState::Gone) << "logged off meanwhile";
    EXPECT_EQ(err, 1312U);
    EXPECT_EQ(faults::openAllocations(), 0U);
}
