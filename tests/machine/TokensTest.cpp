// The tokens, shells and logons that machine.txt describes. Under Wine there is one user, no shell and no logon data,
// every privilege counts as enabled, a user is no member of himself, and any token makes a primary one.
#include <windows.h>

#include <ntsecapi.h>
#include <shlobj.h>
#include <winsafer.h>

#include <cstring>

#include "common/Handles.h"
#include "machine/MachineFixture.h"
#include "support/Text.h"

using namespace platform;

namespace {

constexpr const char* kUsers =
    "[user operator]\nprofile = C:\\Users\\operator\n"
    "[user ann]\nprofile = C:\\Users\\ann\nadministrator = yes\nsid = S-1-5-21-7-8-9-1000\n"
    "[session 1]\nuser = operator\n"
    "[session 2]\nuser = ann\nelevated = yes\nlogon = 0x500000004\n"
    "[session 3]\nuser = ann\n"
    "[session 4]\n";

WaitHandle openToken(DWORD access = TOKEN_QUERY) {
    WaitHandle token;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), access, token.put()));
    return token;
}

template <typename Data>
Data fixed(HANDLE token, TOKEN_INFORMATION_CLASS what) {
    Data data = {};
    DWORD needed = 0;
    EXPECT_TRUE(GetTokenInformation(token, what, &data, sizeof data, &needed)) << what << " " << GetLastError();
    return data;
}

std::vector<BYTE> variable(HANDLE token, TOKEN_INFORMATION_CLASS what) {
    DWORD needed = 0;
    GetTokenInformation(token, what, nullptr, 0, &needed);
    std::vector<BYTE> data(needed);
    EXPECT_TRUE(GetTokenInformation(token, what, data.data(), needed, &needed));
    return data;
}

std::string sidText(PSID sid) {
    std::string text = "S-1-" + std::to_string(static_cast<SID*>(sid)->IdentifierAuthority.Value[5]);
    for (DWORD i = 0; i < *GetSidSubAuthorityCount(sid); ++i)
        text += "-" + std::to_string(*GetSidSubAuthority(sid, i));
    return text;
}

// The token in one line: user, session, logon, level, elevation, attributes of the Administrators group.
std::string told(HANDLE token) {
    const std::vector<BYTE> user = variable(token, TokenUser), label = variable(token, TokenIntegrityLevel),
                            groups = variable(token, TokenGroups);
    TOKEN_USER owner;
    TOKEN_MANDATORY_LABEL level;
    std::memcpy(&owner, user.data(), sizeof owner);
    std::memcpy(&level, label.data(), sizeof level);
    DWORD count = 0, administrators = 0;
    std::memcpy(&count, groups.data(), sizeof count);
    for (DWORD i = 0; i < count; ++i) {
        SID_AND_ATTRIBUTES group;
        std::memcpy(&group, groups.data() + offsetof(TOKEN_GROUPS, Groups) + i * sizeof group, sizeof group);
        if (IsWellKnownSid(group.Sid, WinBuiltinAdministratorsSid)) administrators = group.Attributes;
    }
    const LUID logon = fixed<TOKEN_STATISTICS>(token, TokenStatistics).AuthenticationId;
    char line[200];
    std::snprintf(line, sizeof line, "%s %u %x:%x %x %u %x", sidText(owner.User.Sid).c_str(),
                  fixed<DWORD>(token, TokenSessionId), static_cast<unsigned>(logon.HighPart), logon.LowPart,
                  *GetSidSubAuthority(level.Label.Sid, 0), fixed<TOKEN_ELEVATION_TYPE>(token, TokenElevationType),
                  administrators);
    return line;
}

// The logon in one line.
std::string toldLogon(LUID id) {
    PSECURITY_LOGON_SESSION_DATA data = nullptr;
    const NTSTATUS status = LsaGetLogonSessionData(&id, &data);
    if (status != 0) return "error " + std::to_string(LsaNtStatusToWinError(status));
    if (data == nullptr) return "nothing";
    char line[200];
    std::snprintf(line, sizeof line, "%x:%x session %u type %u time %llx ",
                  static_cast<unsigned>(data->LogonId.HighPart), data->LogonId.LowPart, data->Session, data->LogonType,
                  static_cast<unsigned long long>(data->LogonTime.QuadPart));
    const std::string told = line + (data->Sid == nullptr ? "nobody" : sidText(data->Sid));
    EXPECT_EQ(LsaFreeReturnBuffer(data), 0);
    return told;
}

}  // namespace

TEST_F(MachineTest, tokenIsAsDescribed) {
    describe(kUsers);
    const std::string operatorSid = "S-1-5-21-1004336348-1177238915-682003330-1001", ann = "S-1-5-21-7-8-9-1000";
    const struct {
        const char* description;
        std::string told;
    } rows[] = {
        {"operator@1", operatorSid + " 1 0:3a001 2000 1 0"},
        {"operator@1 low", operatorSid + " 1 0:3a001 1000 1 0"},
        {"operator@1 high logon=0x700000009", operatorSid + " 1 7:9 3000 1 0"},
        {"operator@1 0x2100", operatorSid + " 1 0:3a001 2100 1 0"},
        {"ann@2", ann + " 2 5:4 2000 3 10"},
        {"ann@2 high", ann + " 2 5:4 3000 2 f"},
        {"ann@3 high", ann + " 3 0:3a003 3000 1 f"},
        {"ann@3", ann + " 3 0:3a003 2000 1 10"},
        {"SYSTEM@0", "S-1-5-18 0 0:3e7 4000 1 f"},
    };
    for (const auto& row : rows) {
        useToken(row.description);
        EXPECT_EQ(told(openToken().get()), row.told) << row.description;
        BOOL isMember = FALSE;
        BYTE administrators[SECURITY_MAX_SID_SIZE];
        DWORD size = sizeof administrators;
        ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size));
        EXPECT_TRUE(CheckTokenMembership(nullptr, administrators, &isMember));
        EXPECT_EQ(isMember != FALSE, row.told.ends_with(" f"))
            << row.description << ": a group to deny is no membership";
    }
}

TEST_F(MachineTest, administratorHasTwoTokensWhereTheSessionIsElevated) {
    describe(kUsers);
    useToken("ann@2");
    const std::string limited = told(openToken().get());
    useToken("ann@2 high");
    const WaitHandle full = openToken();
    const WaitHandle linked(fixed<TOKEN_LINKED_TOKEN>(full.get(), TokenLinkedToken).LinkedToken);
    EXPECT_EQ(told(linked.get()), limited);
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(linked.get(), TokenStatistics).TokenType, TokenImpersonation);
    WaitHandle primary;
    EXPECT_FALSE(DuplicateTokenEx(linked.get(), 0, nullptr, SecurityImpersonation, TokenPrimary, primary.put()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_IMPERSONATION_LEVEL}) << "it is there to be looked at";
    const WaitHandle back(fixed<TOKEN_LINKED_TOKEN>(linked.get(), TokenLinkedToken).LinkedToken);
    EXPECT_EQ(told(back.get()), told(full.get()));
    useToken("SYSTEM@0");
    const WaitHandle trusted(fixed<TOKEN_LINKED_TOKEN>(full.get(), TokenLinkedToken).LinkedToken);
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(trusted.get(), TokenStatistics).TokenType, TokenPrimary);
    useToken("ann@3 high");
    TOKEN_LINKED_TOKEN none = {};
    DWORD needed = 0;
    EXPECT_FALSE(GetTokenInformation(openToken().get(), TokenLinkedToken, &none, sizeof none, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SUCH_LOGON_SESSION});
}

TEST_F(MachineTest, privilegesAreTheSystems) {
    for (const char* user : {"SYSTEM@0", "operator@1"}) {
        useToken(user);
        for (const WCHAR* name : {SE_TCB_NAME, SE_ASSIGNPRIMARYTOKEN_NAME, SE_INCREASE_QUOTA_NAME}) {
            TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
            ASSERT_TRUE(LookupPrivilegeValueW(nullptr, name, &wanted.Privileges[0].Luid));
            const WaitHandle token = openToken(TOKEN_ADJUST_PRIVILEGES);
            EXPECT_TRUE(AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr));
            EXPECT_EQ(GetLastError(), *user == 'S' ? 0U : DWORD{ERROR_NOT_ALL_ASSIGNED}) << utf8(name);
        }
    }
}

TEST_F(MachineTest, mediumTokenIsMadeOfAHighOne) {
    describe(kUsers);
    useToken("ann@3 high");
    const WaitHandle high = openToken(TOKEN_DUPLICATE | TOKEN_QUERY);
    SAFER_LEVEL_HANDLE level = nullptr;
    ASSERT_TRUE(SaferCreateLevel(SAFER_SCOPEID_USER, SAFER_LEVELID_NORMALUSER, SAFER_LEVEL_OPEN, &level, nullptr));
    EXPECT_FALSE(CloseHandle(level));
    WaitHandle plain, restricted, copy;
    ASSERT_TRUE(SaferComputeTokenFromLevel(level, high.get(), plain.put(), 0, nullptr));
    EXPECT_FALSE(SaferComputeTokenFromLevel(level, openToken(TOKEN_QUERY).get(), copy.put(), 0, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(SaferCloseLevel(level));
    EXPECT_FALSE(SaferCloseLevel(level));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(told(plain.get()).ends_with(" 3000 1 10")) << told(plain.get());
    ASSERT_TRUE(CreateRestrictedToken(plain.get(), DISABLE_MAX_PRIVILEGE, 0, nullptr, 0, nullptr, 0, nullptr,
                                      restricted.put()));
    ASSERT_TRUE(DuplicateTokenEx(restricted.get(), 0x8F, nullptr, SecurityImpersonation, TokenPrimary, copy.put()));
    const DWORD levels[] = {SECURITY_MANDATORY_MEDIUM_RID, SECURITY_MANDATORY_HIGH_RID};
    for (const DWORD wanted : levels) {
        SID sid = {1, 1, {{0, 0, 0, 0, 0, 16}}, {wanted}};
        TOKEN_MANDATORY_LABEL label = {{&sid, SE_GROUP_INTEGRITY}};
        EXPECT_FALSE(SetTokenInformation(high.get(), TokenIntegrityLevel, &label, sizeof label + sizeof sid));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
        const bool isSet = SetTokenInformation(copy.get(), TokenIntegrityLevel, &label, sizeof label + sizeof sid);
        EXPECT_EQ(isSet ? 0 : GetLastError(), wanted == levels[0] ? 0 : DWORD{ERROR_PRIVILEGE_NOT_HELD}) << "never up";
    }
    EXPECT_EQ(told(copy.get()), "S-1-5-21-7-8-9-1000 3 0:3a003 2000 1 10");
    EXPECT_TRUE(told(high.get()).ends_with(" 3000 1 f")) << "the old one stays as it was";
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(copy.get(), TokenStatistics).PrivilegeCount, 1U);
}

TEST_F(MachineTest, impersonatingThreadHasAToken) {
    useToken("operator@1 impersonating");
    WaitHandle token;
    ASSERT_TRUE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.put()));
    std::vector<BYTE> data = variable(token.get(), TokenUser);
    TOKEN_USER user;
    std::memcpy(&user, data.data(), sizeof user);
    BOOL isMember = FALSE;
    EXPECT_TRUE(CheckTokenMembership(token.get(), user.User.Sid, &isMember));
    EXPECT_TRUE(isMember);
    EXPECT_FALSE(CheckTokenMembership(openToken().get(), user.User.Sid, &isMember)) << "no token to impersonate with";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_IMPERSONATION_TOKEN});
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(token.get(), TokenStatistics).TokenType, TokenImpersonation);
}

TEST_F(MachineTest, shellRunsInEachSessionThatHasAUser) {
    const struct {
        const char *text, *own;
        bool hasShell;
        const char* shell;  // how its token ends: level, elevation, Administrators
    } rows[] = {{kUsers, "operator@1", true, " 2000 1 0"},
                {kUsers, "ann@2", true, " 2000 3 10"},
                {kUsers, "ann@3", true, " 3000 1 f"},
                {kUsers, "operator@4", false, ""},
                {kUsers, "SYSTEM@0", false, ""},
                {"[session 1]\nuser = operator\nshell = no\n", "operator@1", false, ""},
                {"[session 1]\nuser = operator\nshell token = operator@1 low\n", "operator@1", true, " 1000 1 0"}};
    for (const auto& row : rows) {
        describe(row.text);
        useToken(row.own);
        const HWND window = GetShellWindow();
        EXPECT_EQ(window != nullptr, row.hasShell) << row.own;
        if (window == nullptr) continue;
        DWORD process = 0, session = 0;
        EXPECT_NE(GetWindowThreadProcessId(window, &process), 0U);
        EXPECT_NE(process, GetCurrentProcessId());
        ASSERT_TRUE(ProcessIdToSessionId(process, &session));
        EXPECT_EQ(session, processToken().sessionId);
        const WaitHandle shell(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
        WaitHandle token;
        ASSERT_TRUE(OpenProcessToken(shell.get(), TOKEN_QUERY, token.put()));
        EXPECT_TRUE(told(token.get()).ends_with(row.shell)) << told(token.get());
        const WaitHandle blind(OpenProcess(0, FALSE, process));
        EXPECT_FALSE(OpenProcessToken(blind.get(), TOKEN_QUERY, token.put()));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
        useToken("bob@1");
        EXPECT_FALSE(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "another user's";
    }
}

TEST_F(MachineTest, logonsComeAndGoWhileProcessesRun) {
    const std::string sid = "S-1-5-21-1004336348-1177238915-682003330-1001";
    const LUID logon = fixed<TOKEN_STATISTICS>(openToken().get(), TokenStatistics).AuthenticationId;
    EXPECT_EQ(toldLogon(logon), "0:3a001 session 1 type 2 time 1dc2f6a7eff9310 " + sid);
    const std::string user = "[user operator]\nprofile = C:\\Users\\operator\n";
    const struct {
        const char *text, *told;
    } rows[] = {
        {"[session 1]\n", "error 1312"},
        {"[session 1]\nuser = operator\nlogon time = 0x7\nlogon type = 10\n", "0:3a001 session 1 type 10 time 7 +"},
        {"[session 1]\nuser = operator\nlogon = 0x99\n", "error 1312"},
        {"[logon 0x3A001]\nuser = operator\nsession = 5\ntime = 0x8\ntype = 5\n", "0:3a001 session 5 type 5 time 8 +"},
        {"[logon 0x3a001]\ntime = 9\n", "0:3a001 session 0 type 2 time 9 nobody"},
        {"[logon 0x3a001]\ndata = no\n", "nothing"},
    };
    for (const auto& row : rows) {
        rewriteMachine(user + row.text);
        std::string expected = row.told;
        if (expected.ends_with("+")) expected.replace(expected.size() - 1, 1, sid);
        EXPECT_EQ(toldLogon(logon), expected) << row.text;
    }
    EXPECT_EQ(faults::openAllocations(), 0U);
    faults::arm({"LsaGetLogonSessionData", 1, faults::Action::Fail, 1722});
    EXPECT_EQ(toldLogon(logon), "error 1722");
}

TEST_F(MachineTest, machineHiveIsForAdministratorsToWrite) {
    describe(kUsers);
    RegistryKey key;
    const WCHAR* const path = TEXT("SOFTWARE\\Policies");
    useToken("operator@1");
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr), 5);
    useToken("ann@3 high");
    ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr), 0);
    const DWORD one = 1;
    ASSERT_EQ(RegSetValueExW(key.get(), TEXT("Value"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&one), 4), 0);
    useToken("operator@1");
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_QUERY_VALUE, key.put()), 0);
    DWORD type = 0, value = 0, size = sizeof value;
    ASSERT_EQ(RegQueryValueExW(key.get(), TEXT("value"), nullptr, &type, reinterpret_cast<BYTE*>(&value), &size), 0);
    EXPECT_TRUE(type == REG_DWORD && size == 4 && value == 1) << type << " " << size << " " << value;
}

TEST_F(MachineTest, everyUserHasFoldersAndAHiveOfHisOwn) {
    describe(kUsers);
    const WaitHandle own = openToken();
    useToken("ann@2");
    WCHAR path[MAX_PATH];
    EXPECT_EQ(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path), S_OK);
    EXPECT_EQ(utf8(path), "C:\\Users\\ann\\AppData\\Local");
    EXPECT_EQ(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, own.get(), SHGFP_TYPE_CURRENT, path), S_OK);
    EXPECT_EQ(utf8(path), "C:\\Users\\operator\\AppData\\Local") << "the token decides";
    RegistryKey key;
    EXPECT_EQ(RegOpenCurrentUser(KEY_READ, key.put()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(folder() / "registry/HKEY_USERS/ann"));
}
