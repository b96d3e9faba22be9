#include "applet/LogonIdentity.h"

namespace AppletNotes {

bool isValid(const LogonIdentity& identity) {
    const bool hasSession = identity.sessionId != 0 && identity.sessionId <= 0x7FFFFFFF;
    const bool hasLogon = identity.logonId.LowPart != 0 || identity.logonId.HighPart != 0;
    return hasSession && hasLogon && identity.logonTime > 0;
}

}  // namespace AppletNotes
