// Security identifiers and the process's own token.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <vector>

#include "common/Handles.h"
#include "support/Files.h"

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

// Reads variable-size data: the first call gets the size, the second one the data.
Bytes tokenData(HANDLE token, TOKEN_INFORMATION_CLASS what) {
    DWORD needed = 0;
    EXPECT_EQ(errorAfter(GetTokenInformation(token, what, nullptr, 0, &needed)), ERROR_INSUFFICIENT_BUFFER);
    Bytes data(needed);
    EXPECT_EQ(errorAfter(GetTokenInformation(token, what, data.data(), needed - 1, &needed)), ERROR_INSUFFICIENT_BUFFER)
        << "a byte too short";
    EXPECT_TRUE(GetTokenInformation(token, what, data.data(), needed, &needed));
    EXPECT_EQ(needed, data.size());
    return data;
}

template <typename Field>
Field fieldOf(const Bytes& data, std::size_t offset = 0) {
    Field field;
    std::memcpy(&field, data.data() + offset, sizeof field);
    return field;
}

// Whether the whole SID lies inside the data.
bool holds(const Bytes& data, PSID sid) {
    const BYTE* at = static_cast<const BYTE*>(sid);
    return at > data.data() && at + 8 <= data.data() + data.size() && IsValidSid(sid) &&
           at + GetLengthSid(sid) <= data.data() + data.size();
}

}  // namespace

TEST(Security, wellKnownSidsHaveTheDocumentedBytes) {
    const std::pair<WELL_KNOWN_SID_TYPE, Bytes> rows[] = {
        {WinLocalSystemSid, {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0}},
        {WinBuiltinAdministratorsSid, {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0}},
        {WinMediumLabelSid, {1, 1, 0, 0, 0, 0, 0, 16, 0, 0x20, 0, 0}}};
    for (const auto& [type, bytes] : rows) {
        Bytes sid = wellKnown(type), copy(sid.size());
        EXPECT_EQ(sid, bytes);
        EXPECT_EQ(GetLengthSid(sid.data()), bytes.size());
        for (const auto& other : rows)
            EXPECT_EQ(IsWellKnownSid(sid.data(), other.first) != FALSE, other.first == type);
        DWORD small = static_cast<DWORD>(sid.size() - 1);
        EXPECT_FALSE(CopySid(small, copy.data(), sid.data()));  // Wine does not set the last error here
        EXPECT_EQ(errorAfter(CreateWellKnownSid(type, nullptr, sid.data(), &small)), ERROR_INSUFFICIENT_BUFFER);
        EXPECT_EQ(small, sid.size());
        ASSERT_TRUE(CopySid(static_cast<DWORD>(copy.size()), copy.data(), sid.data()));
        EXPECT_TRUE(EqualSid(copy.data(), sid.data()));
        copy.back() ^= 1;
        EXPECT_FALSE(EqualSid(copy.data(), sid.data()));
    }
}

TEST(Security, damagedSidsAreInvalid) {
    Bytes unknownRevision = {2, 0, 0, 0, 0, 0, 0, 5}, tooManyParts = wellKnown(WinLocalSystemSid);
    tooManyParts[1] = 16;
    for (const PSID sid : {PSID{nullptr}, PSID{unknownRevision.data()}, PSID{tooManyParts.data()}})
        EXPECT_FALSE(IsValidSid(sid));
}

TEST(Security, buildsASidFromItsParts) {
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    PSID made = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 3, 4, 5,
                                         6, 7, 8, &made));
    EXPECT_TRUE(EqualSid(made, wellKnown(WinBuiltinAdministratorsSid).data()));
    EXPECT_EQ(*GetSidSubAuthorityCount(made), 2);
    EXPECT_EQ(*GetSidSubAuthority(made, 1), 0x220U);
    FreeSid(made);
}

TEST(Security, tokenInformationReturnsSizeThenData) {
    const KernelHandle token = ownToken(TOKEN_QUERY);
    const Bytes user = tokenData(token.get(), TokenUser), label = tokenData(token.get(), TokenIntegrityLevel),
                groups = tokenData(token.get(), TokenGroups);
    const PSID owner = fieldOf<TOKEN_USER>(user).User.Sid, level = fieldOf<TOKEN_MANDATORY_LABEL>(label).Label.Sid;
    EXPECT_TRUE(holds(user, owner));
    EXPECT_FALSE(IsWellKnownSid(owner, WinLocalSystemSid));
    ASSERT_TRUE(holds(label, level));
    EXPECT_EQ(*GetSidSubAuthorityCount(level), 1);
    EXPECT_GE(*GetSidSubAuthority(level, 0), 0x2000U);
    const DWORD count = fieldOf<DWORD>(groups);
    EXPECT_GT(count, 1U);
    for (DWORD i = 0; i < count; ++i)
        EXPECT_TRUE(holds(
            groups,
            fieldOf<SID_AND_ATTRIBUTES>(groups, offsetof(TOKEN_GROUPS, Groups) + i * sizeof(SID_AND_ATTRIBUTES)).Sid))
            << i;
}

TEST(Security, tokenInformationReturnsFixedSizeData) {
    const KernelHandle token = ownToken(TOKEN_QUERY);
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

TEST(Security, tokenRefusesCallsWithoutTheAccessRight) {
    HANDLE none = nullptr;
    EXPECT_EQ(errorAfter(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &none)), ERROR_NO_TOKEN);

    const KernelHandle token = ownToken(TOKEN_DUPLICATE);
    DWORD session = 0, needed = 0;
    EXPECT_EQ(errorAfter(GetTokenInformation(token.get(), TokenSessionId, &session, sizeof session, &needed)),
              ERROR_ACCESS_DENIED);
    TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, SE_TCB_NAME, &wanted.Privileges[0].Luid));
    EXPECT_EQ(wanted.Privileges[0].Luid.LowPart, 7U);
    EXPECT_EQ(errorAfter(AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr)), ERROR_ACCESS_DENIED);
    LUID privilege;
    EXPECT_EQ(errorAfter(LookupPrivilegeValueW(nullptr, TEXT("SeNoSuchPrivilege"), &privilege)),
              ERROR_NO_SUCH_PRIVILEGE);

    BOOL isMember = TRUE;
    EXPECT_TRUE(CheckTokenMembership(nullptr, wellKnown(WinLocalSystemSid).data(), &isMember));
    EXPECT_FALSE(isMember);
}
