// Starts this program again for an applet role. The child is created suspended and resumed only if its token belongs to
// the expected user and logon. Nothing waits for the child, and it inherits no handles.
#pragma once

#include "applet/AppletContext.h"
#include "applet/OwnedHandle.h"

namespace AppletNotes {

// True if this process runs at medium integrity. On a machine without UAC it may run at high integrity: then a child of
// the same role is started at medium integrity, `relaunched` is set, and this process must exit. `queueName` is empty
// for the recovery role. False with a Windows error number in `err`.
bool startAtMediumIntegrity(const WideString& queueName, bool& relaunched, DWORD& err);

// Makes a primary token at medium integrity and without privileges. `processToken` needs TOKEN_DUPLICATE and
// TOKEN_QUERY. Empty on failure, with the reason in `err`.
OwnedHandle makeMediumToken(HANDLE processToken, DWORD& err);

// Starts a display process for the queue, or a recovery process if `queueName` is empty. `token` is a primary token;
// null means this process's own. Returns a Windows error number, 0 when the child runs.
DWORD launchApplet(const AppletContext& context, const WideString& queueName, HANDLE token);

// Starts a display process for a queue of this process's logon. Returns like launchApplet.
DWORD dispatchQueue(const WideString& queueName);

}  // namespace AppletNotes
