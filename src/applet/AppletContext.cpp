// Reads and checks the token of the process, the shell's token and the logon data of the LSA. Called for every start of
// an applet role and for every queue of a recovery pass, on the main thread.
#include "applet/AppletContext.h"

#include <ntsecapi.h>
#include <shlobj.h>

#include "applet/Error.h"
#include "applet/OwnedHandle.h"
#include "common/TokenData.h"

namespace AppletNotes {
namespace {

constexpr const WCHAR* kStoreFolder = TEXT("\\OmbrelAppletNotes");
constexpr const WCHAR* kPolicyKey = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System");
constexpr DWORD kPathUnits = 260;

void freeLogonData(SECURITY_LOGON_SESSION_DATA* data) {
    if (LsaFreeReturnBuffer(data) != 0) OutputDebugStringW(TEXT("AppletNotes: LSA buffer release failed\n"));
}
using LogonData = Guard<ValueTraits<SECURITY_LOGON_SESSION_DATA*, freeLogonData>>;

// A true result with a null `data` is possible.
bool readLogonData(LUID logonId, LogonData& data, DWORD& err) {
    const NTSTATUS status = LsaGetLogonSessionData(&logonId, data.put());
    return status == 0 || fail(err, LsaNtStatusToWinError(status));
}

bool isInteractive(ULONG logonType) {
    return logonType == Interactive || logonType == RemoteInteractive || logonType == CachedInteractive;
}

bool readIntegrityLevel(HANDLE token, DWORD& level, DWORD& err) {
    TokenData<TOKEN_MANDATORY_LABEL> label;
    if (!label.read(token, TokenIntegrityLevel, err)) return false;
    const PSID sid = label->Label.Sid;
    if (!isUsable(sid) || *GetSidSubAuthorityCount(sid) == 0) return fail(err, ERROR_INVALID_SID);
    level = *GetSidSubAuthority(sid, *GetSidSubAuthorityCount(sid) - DWORD{1});
    return true;
}

bool readUserSid(HANDLE token, SidBytes& userSid, DWORD& err) {
    TokenData<TOKEN_USER> user;
    if (!user.read(token, TokenUser, err)) return false;
    const PSID sid = user->User.Sid;
    if (!isUsable(sid) || IsWellKnownSid(sid, WinLocalSystemSid)) return fail(err, ERROR_ACCESS_DENIED);
    userSid.resize(GetLengthSid(sid));
    return CopySid(static_cast<DWORD>(userSid.size()), userSid.data(), sid) || failWithLastError(err);
}

bool hasEnabledGroup(const TokenData<TOKEN_GROUPS>& groups, PSID wanted) {
    constexpr DWORD kMask = SE_GROUP_ENABLED | SE_GROUP_USE_FOR_DENY_ONLY;
    for (DWORD i = 0; i < groups->GroupCount; ++i) {
        const SID_AND_ATTRIBUTES& group = groups->Groups[i];
        if ((group.Attributes & kMask) == SE_GROUP_ENABLED && EqualSid(group.Sid, wanted)) return true;
    }
    return false;
}

// Whether UAC is off on this machine.
bool isUacOff(DWORD& err) {
    RegistryKey key;
    err = static_cast<DWORD>(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPolicyKey, 0, KEY_QUERY_VALUE, key.put()));
    if (err != ERROR_SUCCESS) return false;
    DWORD type = REG_NONE, value = 0, bytes = sizeof value;
    err = static_cast<DWORD>(
        RegQueryValueExW(key.get(), TEXT("EnableLUA"), nullptr, &type, reinterpret_cast<BYTE*>(&value), &bytes));
    const DWORD closed = static_cast<DWORD>(RegCloseKey(key.release()));
    if (err == ERROR_SUCCESS) err = closed;
    if (err != ERROR_SUCCESS) return false;
    return (type == REG_DWORD && bytes == sizeof value && value == 0) || fail(err, ERROR_ACCESS_DENIED);
}

bool refuseImpersonation(DWORD& err) {
    OwnedHandle token;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.put())) return fail(err, ERROR_ACCESS_DENIED);
    const DWORD reason = GetLastError();
    return reason == ERROR_NO_TOKEN || fail(err, reason);
}

bool checkOwnSession(const LogonIdentity& identity, DWORD& err) {
    DWORD session = 0;
    if (!ProcessIdToSessionId(GetCurrentProcessId(), &session)) return failWithLastError(err);
    return session == identity.sessionId || fail(err, ERROR_ACCESS_DENIED);
}

bool openShellToken(OwnedHandle& token, DWORD& err) {
    const HWND shell = GetShellWindow();
    DWORD processId = 0;
    if (shell == nullptr || GetWindowThreadProcessId(shell, &processId) == 0) return fail(err, ERROR_NOT_FOUND);
    const OwnedHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    return (process && OpenProcessToken(process.get(), TOKEN_QUERY, token.put())) || failWithLastError(err);
}

// With UAC off the shell may run at high integrity: that is accepted.
bool checkShell(const AppletContext& context, DWORD& err) {
    OwnedHandle token;
    LogonIdentity shell;
    SidBytes shellSid;
    if (!openShellToken(token, err) || !readTokenIdentity(token.get(), shell, shellSid, err, true)) return false;
    return isSameLogon(shell, shellSid, context) || fail(err, ERROR_ACCESS_DENIED);
}

bool readLogonTime(AppletContext& context, DWORD& err) {
    LogonData data;
    if (!readLogonData(context.identity.logonId, data, err)) return false;
    if (!data) return fail(err, ERROR_ACCESS_DENIED);
    context.identity.logonTime = data.get()->LogonTime.QuadPart;
    const bool ours = data.get()->Session == context.identity.sessionId && isUsable(data.get()->Sid) &&
                      EqualSid(data.get()->Sid, sidOf(context.userSid)) && isValid(context.identity) &&
                      isInteractive(data.get()->LogonType);
    return ours || fail(err, ERROR_ACCESS_DENIED);
}

// SHGetFolderPathW impersonates the user of the token, so the token needs more rights than TOKEN_QUERY. If it fails,
// `err` is its HRESULT.
bool readStoreRoot(WideString& storeRoot, DWORD& err) {
    constexpr DWORD kRights = TOKEN_QUERY | TOKEN_IMPERSONATE | TOKEN_DUPLICATE;
    OwnedHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), kRights, token.put())) return failWithLastError(err);
    WCHAR path[kPathUnits] = {};
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, token.get(), SHGFP_TYPE_CURRENT, path);
    if (FAILED(result)) return fail(err, static_cast<DWORD>(result));
    storeRoot = WideString(path) + kStoreFolder;
    return true;
}

bool fillContext(AppletContext& context, DWORD& err, bool allowElevated) {
    if (!refuseImpersonation(err)) return false;
    OwnedHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put())) return failWithLastError(err);
    return readTokenIdentity(token.get(), context.identity, context.userSid, err, allowElevated) &&
           checkOwnSession(context.identity, err) &&  //
           checkShell(context, err) &&                //
           readLogonTime(context, err) &&             //
           readStoreRoot(context.storeRoot, err);
}

}  // namespace

bool readTokenIdentity(HANDLE token, LogonIdentity& identity, SidBytes& userSid, DWORD& err, bool allowElevated) {
    TOKEN_STATISTICS statistics = {};
    DWORD level = 0;
    if (!readTokenValue(token, TokenSessionId, identity.sessionId, err) ||
        !readTokenValue(token, TokenStatistics, statistics, err) || !readIntegrityLevel(token, level, err))
        return false;
    identity.logonId = statistics.AuthenticationId;

    const bool admitted = allowElevated && level == SECURITY_MANDATORY_HIGH_RID && isUnfilteredAdmin(token, err);
    if (identity.sessionId == 0 || level < SECURITY_MANDATORY_MEDIUM_RID ||
        (level >= SECURITY_MANDATORY_HIGH_RID && !admitted))
        return fail(err, ERROR_ACCESS_DENIED);
    return readUserSid(token, userSid, err);
}

bool isUnfilteredAdmin(HANDLE token, DWORD& err) {
    BYTE administrators[SECURITY_MAX_SID_SIZE];
    DWORD bytes = sizeof administrators;
    if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &bytes))
        return failWithLastError(err);
    TokenData<TOKEN_GROUPS> groups;
    if (!groups.read(token, TokenGroups, err)) return false;
    if (!hasEnabledGroup(groups, administrators)) return fail(err, ERROR_ACCESS_DENIED);
    return isUacOff(err);
}

bool readAppletContext(AppletContext& context, DWORD& err, bool allowElevated) {
    context = AppletContext();
    AppletContext found;
    if (!fillContext(found, err, allowElevated)) return false;
    context = std::move(found);
    err = ERROR_SUCCESS;
    return true;
}

bool isSameLogon(const LogonIdentity& identity, const SidBytes& userSid, const AppletContext& context) {
    return identity.sessionId == context.identity.sessionId &&
           isSameLogonId(identity.logonId, context.identity.logonId) &&
           EqualSid(sidOf(userSid), sidOf(context.userSid));
}

OwnerState lookupOwner(const LogonIdentity& queueIdentity, PSID userSid, DWORD& err) {
    err = ERROR_SUCCESS;
    if (!isValid(queueIdentity) || !isUsable(userSid)) {
        err = ERROR_INVALID_PARAMETER;
        return OwnerState::Unknown;
    }
    LogonData data;
    if (readLogonData(queueIdentity.logonId, data, err) &&
        (!data || !isUsable(data.get()->Sid) || !isInteractive(data.get()->LogonType)))
        err = ERROR_INVALID_DATA;
    if (err != ERROR_SUCCESS || !data) return classifyOwner(queueIdentity, nullptr, false, err);
    const LogonIdentity live = {data.get()->Session, data.get()->LogonId, data.get()->LogonTime.QuadPart};
    return classifyOwner(queueIdentity, &live, EqualSid(data.get()->Sid, userSid) != FALSE, err);
}

}  // namespace AppletNotes
