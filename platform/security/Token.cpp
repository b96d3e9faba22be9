// Tokens: groups, privileges, GetTokenInformation and AdjustTokenPrivileges. Called by the product on any thread. Each
// token has its own lock.
#include "security/Token.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <vector>

#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"
#include "machine/TokenText.h"
#include "security/Sid.h"

namespace platform {
namespace {

struct PrivilegeName {
    Privilege number;
    const char16_t* name;
};
constexpr PrivilegeName kPrivileges[] = {{AssignPrimaryToken, u"SeAssignPrimaryTokenPrivilege"},
                                         {IncreaseQuota, u"SeIncreaseQuotaPrivilege"},
                                         {Tcb, u"SeTcbPrivilege"},
                                         {ChangeNotify, u"SeChangeNotifyPrivilege"}};

LUID newId() {
    static std::atomic<DWORD> next{0x10000};
    return {next.fetch_add(1), 1};
}

LUID luidOf(std::uint64_t id) {
    return {static_cast<DWORD>(id), static_cast<LONG>(id >> 32)};
}

std::map<DWORD, bool> privilegesOf(const Token& who) {
    std::map<DWORD, bool> privileges = {{ChangeNotify, true}};
    if (who.administrators == Administrators::Enabled) privileges[IncreaseQuota] = false;
    if (who.user == "SYSTEM") {
        privileges[AssignPrimaryToken] = false;
        privileges[Tcb] = true;
    }
    return privileges;
}

struct Group {
    Sid sid;
    DWORD attributes;
};

constexpr DWORD kOrdinaryGroup = SE_GROUP_MANDATORY | SE_GROUP_ENABLED_BY_DEFAULT | SE_GROUP_ENABLED;

Sid labelOf(const Token& who) {
    return makeSid(16, {who.integrity});
}

std::vector<Group> groupsOf(const Token& who) {
    std::vector<Group> groups = {{everyoneSid(), kOrdinaryGroup},
                                 {makeSid(5, {11}), kOrdinaryGroup},  // Authenticated Users
                                 {labelOf(who), SE_GROUP_INTEGRITY | SE_GROUP_INTEGRITY_ENABLED}};
    if (who.user != "SYSTEM") groups.push_back({makeSid(5, {4}), kOrdinaryGroup});  // Interactive
    if (who.administrators == Administrators::Enabled)
        groups.push_back({administratorsSid(), kOrdinaryGroup | SE_GROUP_OWNER});
    if (who.administrators == Administrators::DenyOnly)
        groups.push_back({administratorsSid(), SE_GROUP_USE_FOR_DENY_ONLY});
    return groups;
}

struct Target {
    BYTE* data;
    DWORD capacity;
    DWORD* needed;
};

// Returns fixed-size data. Windows fails with ERROR_BAD_LENGTH if the buffer is too small.
template <typename Data>
bool giveFixed(const Target& target, const Data& data) {
    *target.needed = sizeof data;
    if (target.data == nullptr || target.capacity < sizeof data) return refuse(ERROR_BAD_LENGTH);
    std::memcpy(target.data, &data, sizeof data);
    return true;
}

// Writes SID_AND_ATTRIBUTES entries at `offset`, followed by the SIDs that they point to.
bool giveSids(const Target& target, std::size_t offset, const std::vector<Group>& groups) {
    std::size_t end = offset + groups.size() * sizeof(SID_AND_ATTRIBUTES);
    std::size_t at = end;
    for (const Group& group : groups)
        end += group.sid.size();
    *target.needed = static_cast<DWORD>(end);
    if (target.data == nullptr || target.capacity < end) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memset(target.data, 0, end);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const SID_AND_ATTRIBUTES entry = {target.data + at, groups[i].attributes};
        std::memcpy(target.data + offset + i * sizeof entry, &entry, sizeof entry);
        std::memcpy(target.data + at, groups[i].sid.data(), groups[i].sid.size());
        at += groups[i].sid.size();
    }
    return true;
}

bool giveGroups(const Target& target, const Token& who) {
    const std::vector<Group> groups = groupsOf(who);
    const auto count = static_cast<DWORD>(groups.size());
    if (!giveSids(target, offsetof(TOKEN_GROUPS, Groups), groups)) return false;
    std::memcpy(target.data, &count, sizeof count);
    return true;
}

bool giveStatistics(const Target& target, const TokenState& token, const Token& who) {
    TOKEN_STATISTICS statistics = {};
    statistics.TokenId = token.id;
    statistics.ModifiedId = token.id;
    statistics.AuthenticationId = luidOf(who.logonId);
    statistics.ExpirationTime.QuadPart = INT64_MAX;
    statistics.TokenType = token.type;
    statistics.ImpersonationLevel = token.level;
    statistics.GroupCount = static_cast<DWORD>(groupsOf(who).size());
    statistics.PrivilegeCount = static_cast<DWORD>(token.privileges.size());
    return giveFixed(target, statistics);
}

// A caller with SeTcbPrivilege gets a primary token. Others get a token for identification only.
bool giveLinked(const Target& target, const Token& who) {
    Token linked;
    if (target.data == nullptr || target.capacity < sizeof(TOKEN_LINKED_TOKEN))
        return giveFixed(target, TOKEN_LINKED_TOKEN());
    if (!linkedToken(who, linked)) return refuse(ERROR_NO_SUCH_LOGON_SESSION);
    const bool isTrusted = mayUse(Tcb);
    auto token = makeToken(linked, isTrusted ? TokenPrimary : TokenImpersonation);
    if (!isTrusted) token->level = SecurityIdentification;
    return giveFixed(target, TOKEN_LINKED_TOKEN{openTokenHandle(std::move(token), kAllTokenRights)});
}

bool give(TokenState& token, TOKEN_INFORMATION_CLASS what, const Target& target) {
    Token who;
    {
        std::lock_guard hold(token.lock);
        who = token.who;
    }
    switch (what) {
        case TokenUser:
            return giveSids(target, 0, {{sidOfUser(machine(), who.user), 0}});
        case TokenGroups:
            return giveGroups(target, who);
        case TokenIntegrityLevel:
            return giveSids(target, 0, {{labelOf(who), SE_GROUP_INTEGRITY | SE_GROUP_INTEGRITY_ENABLED}});
        case TokenStatistics:
            return giveStatistics(target, token, who);
        case TokenSessionId:
            return giveFixed(target, who.sessionId);
        case TokenElevationType:
            return giveFixed(target, static_cast<TOKEN_ELEVATION_TYPE>(who.elevationType));
        case TokenLinkedToken:
            return giveLinked(target, who);
    }
    return refuse(ERROR_INVALID_PARAMETER);
}

std::mutex processLock;
std::shared_ptr<TokenState> ofProcess;

}  // namespace

std::shared_ptr<TokenState> makeToken(Token who, TOKEN_TYPE type) {
    auto token = std::make_shared<TokenState>();
    token->privileges = privilegesOf(who);
    token->who = std::move(who);
    token->type = type;
    token->id = newId();
    return token;
}

HANDLE openTokenHandle(std::shared_ptr<TokenState> token, DWORD access) {
    return openHandle(std::make_shared<TokenObject>(std::move(token), access));
}

std::shared_ptr<TokenState> findToken(HANDLE handle, DWORD right) {
    const auto object = find<TokenObject>(handle);
    if (object == nullptr) return nullptr;
    if ((object->access & right) == right) return object->token;
    return refuse(ERROR_ACCESS_DENIED);
}

std::shared_ptr<TokenState> processTokenState() {
    std::lock_guard hold(processLock);
    if (ofProcess == nullptr) ofProcess = makeToken(processToken());
    return ofProcess;
}

void resetProcessToken() {
    std::lock_guard hold(processLock);
    ofProcess.reset();
}

bool mayUse(Privilege privilege) {
    const auto token = processTokenState();
    std::lock_guard hold(token->lock);
    const auto found = token->privileges.find(privilege);
    return found != token->privileges.end() && found->second;
}

}  // namespace platform

using namespace platform;

BOOL GetTokenInformation(HANDLE handle, TOKEN_INFORMATION_CLASS what, LPVOID data, DWORD byteCount, PDWORD needed) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_QUERY);
    return token != nullptr && give(*token, what, {static_cast<BYTE*>(data), byteCount, needed});
}

BOOL LookupPrivilegeValueW(LPCWSTR, LPCWSTR name, PLUID privilege) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    for (const PrivilegeName& known : kPrivileges)
        if (equalsOrdinal(known.name, name)) {
            *privilege = luidOf(known.number);
            return TRUE;
        }
    return refuse(ERROR_NO_SUCH_PRIVILEGE);
}

// Does not support `disableAll` or returning the previous state.
BOOL AdjustTokenPrivileges(HANDLE handle, BOOL disableAll, PTOKEN_PRIVILEGES wanted, DWORD, PTOKEN_PRIVILEGES before,
                           PDWORD) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_ADJUST_PRIVILEGES);
    if (token == nullptr) return FALSE;
    if (disableAll || wanted == nullptr || before != nullptr) return refuse(ERROR_INVALID_PARAMETER);
    bool all = true;
    std::lock_guard hold(token->lock);
    for (DWORD i = 0; i < wanted->PrivilegeCount; ++i) {
        const LUID_AND_ATTRIBUTES& entry = wanted->Privileges[i];
        const auto found = token->privileges.find(entry.Luid.LowPart);
        const bool has = found != token->privileges.end() && entry.Luid.HighPart == 0;
        if (has && (entry.Attributes & SE_PRIVILEGE_REMOVED) != 0)
            token->privileges.erase(found);
        else if (has)
            found->second = (entry.Attributes & SE_PRIVILEGE_ENABLED) != 0;
        all = all && has;
    }
    SetLastError(all ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
    return TRUE;
}

BOOL CheckTokenMembership(HANDLE handle, PSID sid, PBOOL isMember) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = handle == nullptr ? processTokenState() : findToken(handle, TOKEN_QUERY);
    if (token == nullptr) return FALSE;
    if (handle != nullptr && token->type != TokenImpersonation) return refuse(ERROR_NO_IMPERSONATION_TOKEN);
    if (!isValidSid(sid)) return refuse(ERROR_INVALID_SID);
    std::lock_guard hold(token->lock);
    *isMember = sidOfUser(machine(), token->who.user) == copySid(sid);
    for (const Group& group : groupsOf(token->who))
        if ((group.attributes & SE_GROUP_ENABLED) != 0 && group.sid == copySid(sid)) *isMember = TRUE;
    return TRUE;
}
