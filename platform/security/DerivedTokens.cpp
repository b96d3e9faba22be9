// Creates tokens from other tokens: copies and restricted tokens.
#include <windows.h>

#include <winsafer.h>

#include <cstring>

#include "core/Error.h"
#include "core/Gate.h"
#include "security/Sid.h"
#include "security/Token.h"

namespace platform {
namespace {

constexpr BYTE kLabelAuthority = 16;

// The handle of SAFER_LEVELID_NORMALUSER, the only supported level. CloseHandle does not close it, as with registry
// keys.
struct LevelObject : KeyBase {};

std::shared_ptr<TokenState> copyToken(TokenState& token) {
    std::lock_guard hold(token.lock);
    auto copy = makeToken(token.who, token.type);
    copy->privileges = token.privileges;
    copy->level = token.level;
    return copy;
}

void dropPrivileges(TokenState& token) {
    std::erase_if(token.privileges, [](const auto& privilege) { return privilege.first != ChangeNotify; });
}

// A token for identification only cannot be turned into one that can act.
bool mayBecome(const TokenState& token, SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type) {
    return token.type == TokenPrimary || token.level >= (type == TokenPrimary ? SecurityImpersonation : level);
}

// Raising the level needs SeTcbPrivilege.
bool setIntegrity(TokenState& token, PSID label) {
    const bool isLabel = isValidSid(label) && static_cast<SID*>(label)->SubAuthorityCount == 1 &&
                         static_cast<SID*>(label)->IdentifierAuthority.Value[5] == kLabelAuthority;
    if (!isLabel) return refuse(ERROR_INVALID_SID);
    const DWORD level = *GetSidSubAuthority(label, 0);
    const bool mayRaise = mayUse(Tcb);
    std::lock_guard hold(token.lock);
    if (level > token.who.integrity && !mayRaise) return refuse(ERROR_PRIVILEGE_NOT_HELD);
    token.who.integrity = level;
    return true;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL DuplicateTokenEx(HANDLE handle, DWORD access, LPSECURITY_ATTRIBUTES, SECURITY_IMPERSONATION_LEVEL level,
                      TOKEN_TYPE type, PHANDLE made) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_DUPLICATE);
    if (token == nullptr) return FALSE;
    if (!mayBecome(*token, level, type)) return refuse(ERROR_BAD_IMPERSONATION_LEVEL);
    auto copy = copyToken(*token);
    copy->type = type;
    copy->level = level;
    *made = openTokenHandle(std::move(copy), access);
    return TRUE;
}

// Supports DISABLE_MAX_PRIVILEGE only, without lists of SIDs or privileges.
BOOL CreateRestrictedToken(HANDLE handle, DWORD flags, DWORD disabledCount, PSID_AND_ATTRIBUTES, DWORD deletedCount,
                           PLUID_AND_ATTRIBUTES, DWORD restrictedCount, PSID_AND_ATTRIBUTES, PHANDLE made) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_DUPLICATE);
    if (token == nullptr) return FALSE;
    if (flags != DISABLE_MAX_PRIVILEGE || disabledCount != 0 || deletedCount != 0 || restrictedCount != 0)
        return refuse(ERROR_INVALID_PARAMETER);
    auto copy = copyToken(*token);
    dropPrivileges(*copy);
    *made = openTokenHandle(std::move(copy), find<TokenObject>(handle)->access);
    return TRUE;
}

BOOL SetTokenInformation(HANDLE handle, TOKEN_INFORMATION_CLASS what, LPVOID data, DWORD byteCount) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_ADJUST_DEFAULT);
    if (token == nullptr) return FALSE;
    if (what != TokenIntegrityLevel) return refuse(ERROR_INVALID_PARAMETER);
    TOKEN_MANDATORY_LABEL label = {};
    if (byteCount < sizeof label) return refuse(ERROR_BAD_LENGTH);
    std::memcpy(&label, data, sizeof label);
    return setIntegrity(*token, label.Label.Sid);
}

BOOL SaferCreateLevel(DWORD scope, DWORD levelId, DWORD flags, SAFER_LEVEL_HANDLE* level, LPVOID) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (scope != SAFER_SCOPEID_USER || levelId != SAFER_LEVELID_NORMALUSER || flags != SAFER_LEVEL_OPEN)
        return refuse(ERROR_INVALID_PARAMETER);
    *level = static_cast<SAFER_LEVEL_HANDLE>(openHandle(std::make_shared<LevelObject>()));
    return TRUE;
}

// Removes the rights of Administrators but keeps the integrity level, as Windows does.
BOOL SaferComputeTokenFromLevel(SAFER_LEVEL_HANDLE level, HANDLE handle, PHANDLE made, DWORD, LPVOID) {
    static constinit CallSite site{__func__};
    *made = nullptr;
    if (site.fails() || find<LevelObject>(level) == nullptr) return FALSE;
    const auto token = handle == nullptr ? processTokenState() : findToken(handle, TOKEN_DUPLICATE | TOKEN_QUERY);
    if (token == nullptr) return FALSE;
    auto copy = copyToken(*token);
    dropPrivileges(*copy);
    if (copy->who.administrators == Administrators::Enabled) copy->who.administrators = Administrators::DenyOnly;
    *made = openTokenHandle(std::move(copy), kAllTokenRights);
    return TRUE;
}

BOOL SaferCloseLevel(SAFER_LEVEL_HANDLE level) {
    static constinit CallSite site{__func__};
    const bool isRefused = site.fails();
    const DWORD error = GetLastError();
    const bool isClosed = find<LevelObject>(level) != nullptr && closeHandle(level);
    if (isRefused) SetLastError(error);
    return !isRefused && isClosed;
}
