// The logon that this process belongs to, read from its token, the shell's token and the security subsystem (LSA); and
// whether the logon that a queue is named after still exists.
//
// Every function reports a failure in `err`, a Windows error number. Main thread only; no state between calls, no
// waiting.
#pragma once

#include "applet/LogonIdentity.h"
#include "applet/Sid.h"
#include "common/WideText.h"

namespace AppletNotes {

// Read it again for each dispatch: it can get out of date.
struct AppletContext {
    LogonIdentity identity;
    SidBytes userSid;
    WideString storeRoot;  // full path
};

// Accepts only an interactive user at medium integrity whose shell belongs to the same logon. `allowElevated` also
// accepts high integrity if it is the user's ordinary token because UAC is off. On failure `context` is empty.
bool readAppletContext(AppletContext& context, DWORD& err, bool allowElevated);

// Fills `identity` except its logon time. The token needs TOKEN_QUERY.
bool readTokenIdentity(HANDLE token, LogonIdentity& identity, SidBytes& userSid, DWORD& err, bool allowElevated);

// Whether a high-integrity token is the user's ordinary one: an enabled administrator, and UAC is off on this machine.
bool isUnfilteredAdmin(HANDLE token, DWORD& err);

// Whether an identity from readTokenIdentity, which has no logon time, is the context's logon.
bool isSameLogon(const LogonIdentity& identity, const SidBytes& userSid, const AppletContext& context);

// Whether the logon that a queue is named after still exists. `userSid` is the current user's. On failure the answer is
// Unknown, and `err` has the reason.
OwnerState lookupOwner(const LogonIdentity& queueIdentity, PSID userSid, DWORD& err);

}  // namespace AppletNotes
