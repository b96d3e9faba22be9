// The tokens that machine.txt describes, and security descriptors stored as mode bits. Not run under Wine, which has
// one user, makes every token primary, and adds an entry to each DACL.
#include <sys/stat.h>

#include <aclapi.h>
#include <shlobj.h>
#include <winsafer.h>

#include <cstring>

#include "common/Handles.h"
#include "machine/support/MachineFixture.h"

using namespace platform;

namespace {

using MachineSecurity = MachineTest;

constexpr const char* kUsers =
    "[user operator]\nprofile = C:\\Users\\operator\n"
    "[user ann]\nprofile = C:\\Users\\ann\nadministrator = yes\nsid = S-1-5-21-7-8-9-1000\n"
    "[session 1]\nuser = operator\n"
    "[session 2]\nuser = ann\nelevated = yes\nlogon = 0x500000004\n"
    "[session 3]\nuser = ann\n"
    "[session 4]\n";

KernelHandle openToken(DWORD access = TOKEN_QUERY) {
    KernelHandle token;
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

KernelHandle linkedToken(HANDLE token) {
    return KernelHandle(fixed<TOKEN_LINKED_TOKEN>(token, TokenLinkedToken).LinkedToken);
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

KernelHandle ofNormalUser(HANDLE token) {
    SAFER_LEVEL_HANDLE level = nullptr;
    KernelHandle made;
    EXPECT_TRUE(SaferCreateLevel(SAFER_SCOPEID_USER, SAFER_LEVELID_NORMALUSER, SAFER_LEVEL_OPEN, &level, nullptr));
    EXPECT_FALSE(CloseHandle(level)) << "another kind of handle";
    EXPECT_TRUE(SaferComputeTokenFromLevel(level, token, made.put(), 0, nullptr));
    EXPECT_TRUE(SaferCloseLevel(level));
    EXPECT_EQ(errorAfter(SaferCloseLevel(level)), ERROR_INVALID_HANDLE);
    return made;
}

long setLevel(HANDLE token, DWORD level) {
    SID sid = {1, 1, {{0, 0, 0, 0, 0, 16}}, {level}};
    TOKEN_MANDATORY_LABEL label = {{&sid, SE_GROUP_INTEGRITY}};
    return errorAfter(SetTokenInformation(token, TokenIntegrityLevel, &label, sizeof label + sizeof sid));
}

constexpr DWORD kFolder = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
const std::string kOperator = "S-1-5-21-1004336348-1177238915-682003330-1001";

FileHandle open(const WCHAR* path, DWORD access) {
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return FileHandle(CreateFileW(path, access, kAll, nullptr, OPEN_EXISTING, kFolder, nullptr));
}

// "owner: holder mask flags, holder mask flags", plus "protected", "denied" or "no list" where it applies; or the
// error.
std::string security(HANDLE file) {
    PSID owner = nullptr;
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                        &owner, nullptr, &list, nullptr, &descriptor);
    if (error != 0) return "error " + std::to_string(error);
    const LocalBlock freed(descriptor);
    const bool isProtected = (static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Control & SE_DACL_PROTECTED) != 0;
    std::string told = sidText(owner) + (isProtected ? ": protected" : ":");
    if (list == nullptr) return told + " no list";
    for (DWORD i = 0; i < list->AceCount; ++i) {
        void* entry = nullptr;
        EXPECT_TRUE(GetAce(list, i, &entry));
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        char numbers[32];
        std::snprintf(numbers, sizeof numbers, " %x %x", allowed->Mask, allowed->Header.AceFlags);
        told += (allowed->Header.AceType == ACCESS_DENIED_ACE_TYPE ? " denied " : " ") + sidText(&allowed->SidStart);
        told += numbers;
    }
    void* entry = nullptr;
    EXPECT_FALSE(GetAce(list, list->AceCount, &entry));
    return told;
}

}  // namespace

TEST_F(MachineSecurity, tokenMatchesItsDescription) {
    describe(kUsers);
    const std::string ann = "S-1-5-21-7-8-9-1000";
    const std::pair<const char*, std::string> rows[] = {
        {"operator@1", kOperator + " 1 0:3a001 2000 1 0"},
        {"operator@1 low", kOperator + " 1 0:3a001 1000 1 0"},
        {"operator@1 high logon=0x700000009", kOperator + " 1 7:9 3000 1 0"},
        {"operator@1 0x2100", kOperator + " 1 0:3a001 2100 1 0"},
        {"ann@2", ann + " 2 5:4 2000 3 10"},
        {"ann@2 high", ann + " 2 5:4 3000 2 f"},
        {"ann@3 high", ann + " 3 0:3a003 3000 1 f"},
        {"ann@3", ann + " 3 0:3a003 2000 1 10"},
        {"SYSTEM@0", "S-1-5-18 0 0:3e7 4000 1 f"}};
    BYTE administrators[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof administrators;
    ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size));
    for (const auto& [description, line] : rows) {
        useToken(description);
        EXPECT_EQ(told(openToken().get()), line) << description;
        BOOL isMember = FALSE;
        EXPECT_TRUE(CheckTokenMembership(nullptr, administrators, &isMember));
        EXPECT_EQ(isMember != FALSE, line.ends_with(" f")) << description << ": a group to deny is no membership";
    }
}

TEST_F(MachineSecurity, administratorHasTwoTokensIfTheSessionIsElevated) {
    describe(kUsers);
    useToken("ann@2");
    const std::string limited = told(openToken().get());
    useToken("ann@2 high");
    const KernelHandle full = openToken(), linked = linkedToken(full.get()), back = linkedToken(linked.get());
    EXPECT_EQ(told(linked.get()), limited);
    EXPECT_EQ(told(back.get()), told(full.get()));
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(linked.get(), TokenStatistics).TokenType, TokenImpersonation);
    useToken("SYSTEM@0");
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(linkedToken(full.get()).get(), TokenStatistics).TokenType, TokenPrimary);
}

TEST_F(MachineSecurity, mediumTokenIsDerivedFromAHighOne) {
    describe(kUsers);
    useToken("ann@3 high");
    const KernelHandle high = openToken(TOKEN_DUPLICATE | TOKEN_QUERY);
    KernelHandle restricted, copy;
    const KernelHandle plain = ofNormalUser(high.get());
    EXPECT_TRUE(told(plain.get()).ends_with(" 3000 1 10")) << told(plain.get());
    ASSERT_TRUE(CreateRestrictedToken(plain.get(), DISABLE_MAX_PRIVILEGE, 0, nullptr, 0, nullptr, 0, nullptr,
                                      restricted.put()));
    ASSERT_TRUE(DuplicateTokenEx(restricted.get(), 0x8F, nullptr, SecurityImpersonation, TokenPrimary, copy.put()));
    EXPECT_EQ(setLevel(high.get(), SECURITY_MANDATORY_MEDIUM_RID), ERROR_ACCESS_DENIED);
    EXPECT_EQ(setLevel(copy.get(), SECURITY_MANDATORY_MEDIUM_RID), 0);
    EXPECT_EQ(setLevel(copy.get(), SECURITY_MANDATORY_HIGH_RID), ERROR_PRIVILEGE_NOT_HELD) << "never up";
    EXPECT_EQ(told(copy.get()), "S-1-5-21-7-8-9-1000 3 0:3a003 2000 1 10");
    EXPECT_TRUE(told(high.get()).ends_with(" 3000 1 f")) << "the old one stays as it was";
    EXPECT_EQ(fixed<TOKEN_STATISTICS>(copy.get(), TokenStatistics).PrivilegeCount, 1U);
}

TEST_F(MachineSecurity, modeBitsBecomeAccessEntries) {
    writeFile(TEXT("C:\\f"), "x");
    const std::string full = " " + kOperator + " 1f01ff 0", admins = "S-1-5-32-544", everyone = " S-1-1-0";
    const std::pair<mode_t, std::string> rows[] = {{0600, kOperator + ":" + full},
                                                   {0700, kOperator + ":" + full},
                                                   {0400, kOperator + ": " + kOperator + " 120089 0"},
                                                   {0640, kOperator + ":" + full + " " + admins + " 120089 0"},
                                                   {0602, kOperator + ":" + full + everyone + " 120116 0"},
                                                   {0004, kOperator + ":" + everyone + " 120089 0"},
                                                   {0000, kOperator + ":"},
                                                   {01600, kOperator + ": protected" + full},
                                                   {02600, kOperator + ": denied" + full + full},
                                                   {04600, admins + ":" + full},
                                                   {07777, kOperator + ": protected no list"}};
    EXPECT_EQ(security(open(TEXT("C:\\f"), FILE_READ_ATTRIBUTES).get()), "error 5");
    const FileHandle file = open(TEXT("C:\\f"), READ_CONTROL);  // opened while the owner may still read it
    for (const auto& [mode, entries] : rows) {
        chmod(hostPath(TEXT("C:\\f")).c_str(), mode);
        EXPECT_EQ(security(file.get()), entries) << std::oct << mode;
    }
    EXPECT_EQ(faults::openAllocations(), 0U);
}

TEST_F(MachineSecurity, entriesOfFoldersAreInherited) {
    const auto securityOf = [](const WCHAR* path) { return security(open(path, READ_CONTROL).get()); };
    CreateDirectoryW(TEXT("C:\\d"), nullptr);
    chmod(hostPath(TEXT("C:\\d")).c_str(), 0700);
    EXPECT_EQ(securityOf(TEXT("C:\\d")), kOperator + ": " + kOperator + " 1f01ff 3");
    describe("[user operator]\nprofile = C:\\Users\\operator\nuid = 54321\n");
    const std::string unknown = "S-1-5-21-0-0-0-" + std::to_string(geteuid());
    EXPECT_EQ(securityOf(TEXT("C:\\d")), unknown + ": " + unknown + " 1f01ff 3") << "the machine lacks its owner";
}
