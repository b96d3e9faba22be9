#include "applet/LogonIdentity.h"

namespace AppletNotes {

bool isValid(const LogonIdentity& identity) {
    const bool hasSession = identity.sessionId != 0 && identity.sessionId <= 0x7FFFFFFF;
    const bool hasLogon = identity.logonId.LowPart != 0 || identity.logonId.HighPart != 0;
    return hasSession && hasLogon && identity.logonTime > 0;
}

bool isSameLogonId(const LUID& left, const LUID& right) {
    return left.LowPart == right.LowPart && left.HighPart == right.HighPart;
}

bool operator==(const LogonIdentity& left, const LogonIdentity& right) {
    return left.sessionId == right.sessionId && isSameLogonId(left.logonId, right.logonId) &&
           left.logonTime == right.logonTime;
}

OwnerState classifyOwner(const LogonIdentity& queueIdentity, const LogonIdentity* liveIdentity, bool sameUser,
                         DWORD lookupError) {
    if (!isValid(queueIdentity)) return OwnerState::Unknown;
    if (lookupError == ERROR_NO_SUCH_LOGON_SESSION) return OwnerState::Gone;
    if (lookupError != ERROR_SUCCESS) return OwnerState::Unknown;
    if (liveIdentity == nullptr || !isValid(*liveIdentity)) return OwnerState::Unknown;
    return sameUser && *liveIdentity == queueIdentity ? OwnerState::Live : OwnerState::Gone;
}

}  // namespace AppletNotes
