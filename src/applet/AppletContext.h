// Who this process is: the logon that it belongs to, found out from its token, the shell's and the security subsystem;
// and whether the logon that a queue is named after still exists.
//
// Every operation reports a failure in `err`, a Windows error number. Everything runs on the main thread, keeps nothing
// between calls, and never waits.
#pragma once

#include "applet/LogonIdentity.h"
#include "applet/Sid.h"
#include "common/WideText.h"

namespace AppletNotes {

// Owned by the one who builds it. Never kept across a dispatch.
struct AppletContext {
    LogonIdentity identity;
    SidBytes userSid;
    WideString storeRoot;  // full path
};

// Only an interactive user at medium integrity is accepted, and with `allowElevated` one whose ordinary token is
// elevated because the machine runs without UAC; the shell must belong to the same logon. False leaves nothing usable
// in `context`.
bool readAppletContext(AppletContext& context, DWORD& err, bool allowElevated);

// Fills all of the identity but its logon time. The token needs TOKEN_QUERY.
bool readTokenIdentity(HANDLE token, LogonIdentity& identity, SidBytes& userSid, DWORD& err, bool allowElevated);

// Whether a high-integrity token is the user's ordinary one: an enabled administrator's on a machine whose UAC is off.
bool isUnfilteredAdmin(HANDLE token, DWORD& err);

// Whether a token's identity, which knows no logon time, is that of the context's logon.
bool isSameLogon(const LogonIdentity& identity, const SidBytes& userSid, const AppletContext& context);

// `userSid` is the asking user's.
OwnerState lookupOwner(const LogonIdentity& queueIdentity, PSID userSid, DWORD& err);

}  // namespace AppletNotes
