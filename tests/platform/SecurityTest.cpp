// Security identifiers and the process's own token.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <vector>

#include "common/Handles.h"

namespace {

using Bytes = std::vector<BYTE>;

Bytes wellKnown(WELL_KNOWN_SID_TYPE type) {
    Bytes sid(SECURITY_MAX_SID_SIZE);
    DWORD size = SECURITY_MAX_SID_SIZE;
    EXPECT_TRUE(CreateWellKnownSid(type, nullptr, sid.data(), &size));
    sid.resize(size);
    return sid;
}

KernelHandle ownToken(DWORD access) {
    KernelHandle token;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), access, token.put()));
    return token;
}

// Variable-size data in two calls.
Bytes tokenData(HANDLE token, TOKEN_INFORMATION_CLASS what) {
    DWORD needed = 0;
    EXPECT_FALSE(GetTokenInformation(token, what, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    Bytes data(needed);
    EXPECT_FALSE(GetTokenInformation(token, what, data.data(), needed - 1, &needed)) << "a byte too short";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_TRUE(GetTokenInformation(token, what, data.data(), needed, &needed));
    EXPECT_EQ(needed, data.size());
    return data;
}

// Whether the pointer leads into the data, with all of the SID.
bool holds(const Bytes& data, PSID sid) {
    const BYTE* at = static_cast<const BYTE*>(sid);
    return at > data.data() && at + 8 <= data.data() + data.size() && IsValidSid(sid) &&
           at + GetLengthSid(sid) <= data.data() + data.size();
}

}  // namespace

TEST(Security, sidsAreTheirBytes) {
    const struct {
        WELL_KNOWN_SID_TYPE type;
        Bytes bytes;
    } rows[] = {{WinLocalSystemSid, {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0}},
                {WinBuiltinAdministratorsSid, {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0}},
                {WinMediumLabelSid, {1, 1, 0, 0, 0, 0, 0, 16, 0, 0x20, 0, 0}}};
    for (const auto& row : rows) {
        Bytes sid = wellKnown(row.type);
        EXPECT_EQ(sid, row.bytes);
        EXPECT_EQ(GetLengthSid(sid.data()), row.bytes.size());
        for (const auto& other : rows)
            EXPECT_EQ(IsWellKnownSid(sid.data(), other.type) != FALSE, other.type == row.type);
        DWORD small = static_cast<DWORD>(sid.size() - 1);
        EXPECT_FALSE(CreateWellKnownSid(row.type, nullptr, sid.data(), &small));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(small, sid.size());
        Bytes copy(sid.size());
        EXPECT_FALSE(CopySid(static_cast<DWORD>(copy.size() - 1), copy.data(), sid.data()));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        ASSERT_TRUE(CopySid(static_cast<DWORD>(copy.size()), copy.data(), sid.data()));
        EXPECT_TRUE(EqualSid(copy.data(), sid.data()));
        copy.back() ^= 1;
        EXPECT_FALSE(EqualSid(copy.data(), sid.data()));
        copy[1] = 16;
        EXPECT_FALSE(IsValidSid(copy.data())) << "more parts than there can be";
        copy = {2, 0, 0, 0, 0, 0, 0, 5};
        EXPECT_FALSE(IsValidSid(copy.data())) << "no known revision";
    }
    EXPECT_FALSE(IsValidSid(nullptr));

    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID made = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 3, 4, 5,
                                         6, 7, 8, &made));
    EXPECT_TRUE(EqualSid(made, wellKnown(WinBuiltinAdministratorsSid).data()));
    EXPECT_EQ(*GetSidSubAuthorityCount(made), 2);
    EXPECT_EQ(*GetSidSubAuthority(made, 1), 0x220U);
    FreeSid(made);
}

TEST(Security, tokenAnswersInTwoCalls) {
    const KernelHandle token = ownToken(TOKEN_QUERY);
    const Bytes user = tokenData(token.get(), TokenUser);
    TOKEN_USER owner;
    std::memcpy(&owner, user.data(), sizeof owner);
    EXPECT_TRUE(holds(user, owner.User.Sid));
    EXPECT_FALSE(IsWellKnownSid(owner.User.Sid, WinLocalSystemSid));

    const Bytes label = tokenData(token.get(), TokenIntegrityLevel);
    TOKEN_MANDATORY_LABEL level;
    std::memcpy(&level, label.data(), sizeof level);
    ASSERT_TRUE(holds(label, level.Label.Sid));
    EXPECT_EQ(*GetSidSubAuthorityCount(level.Label.Sid), 1);
    EXPECT_GE(*GetSidSubAuthority(level.Label.Sid, 0), 0x2000U);

    const Bytes groups = tokenData(token.get(), TokenGroups);
    DWORD count = 0;
    std::memcpy(&count, groups.data(), sizeof count);
    EXPECT_GT(count, 1U);
    for (DWORD i = 0; i < count; ++i) {
        SID_AND_ATTRIBUTES group;
        std::memcpy(&group, groups.data() + offsetof(TOKEN_GROUPS, Groups) + i * sizeof group, sizeof group);
        EXPECT_TRUE(holds(groups, group.Sid)) << i;
    }

    DWORD session = 77, needed = 0, ofProcess = 78;
    EXPECT_TRUE(GetTokenInformation(token.get(), TokenSessionId, &session, sizeof session, &needed));
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &ofProcess));
    EXPECT_EQ(session, ofProcess);
    TOKEN_STATISTICS statistics = {};
    EXPECT_TRUE(GetTokenInformation(token.get(), TokenStatistics, &statistics, sizeof statistics, &needed));
    EXPECT_EQ(needed, sizeof statistics);
    EXPECT_EQ(statistics.TokenType, TokenPrimary);
    TOKEN_ELEVATION_TYPE elevation = {};
    EXPECT_TRUE(GetTokenInformation(token.get(), TokenElevationType, &elevation, sizeof elevation, &needed));
}

TEST(Security, tokenRefusesWhatItsHandleMayNotDo) {
    HANDLE none = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &none));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_TOKEN});

    const KernelHandle token = ownToken(TOKEN_DUPLICATE);
    DWORD session = 0, needed = 0;
    EXPECT_FALSE(GetTokenInformation(token.get(), TokenSessionId, &session, sizeof session, &needed));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, SE_TCB_NAME, &wanted.Privileges[0].Luid));
    EXPECT_EQ(wanted.Privileges[0].Luid.LowPart, 7U);
    EXPECT_FALSE(AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    LUID privilege;
    EXPECT_FALSE(LookupPrivilegeValueW(nullptr, TEXT("SeNoSuchPrivilege"), &privilege));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SUCH_PRIVILEGE});

    BOOL isMember = TRUE;
    EXPECT_TRUE(CheckTokenMembership(nullptr, wellKnown(WinLocalSystemSid).data(), &isMember));
    EXPECT_FALSE(isMember);
}
