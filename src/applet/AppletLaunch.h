// Starting this program again for an applet role. A child is made suspended and runs only after its token has been
// read and found to be the expected user's in the expected logon. Nobody waits for a child, and it gets no handles.
#pragma once

#include "applet/AppletContext.h"
#include "applet/OwnedHandle.h"

namespace AppletNotes {

// Brings the process to medium integrity: true at once where it is there already; on a machine without UAC by starting
// a child of the same role, which sets `relaunched`: this process is then to end. `queueName` is empty for the recovery
// role. Failures are told in `err`, a Windows error number.
bool startAtMediumIntegrity(const WideString& queueName, bool& relaunched, DWORD& err);

// A primary token at medium integrity and without privileges, made from a process's token, which needs TOKEN_DUPLICATE
// and TOKEN_QUERY. No handle on failure.
OwnedHandle makeMediumToken(HANDLE processToken, DWORD& err);

// Starts a display child of the queue, or with an empty name a recovery child, under the token, a primary one, or
// under this process's where it is null. Returns a Windows error number, 0 for a child that runs.
DWORD launchApplet(const AppletContext& context, const WideString& queueName, HANDLE token);

// Starts a display child of a queue of this process's logon; returns as launchApplet.
DWORD dispatchQueue(const WideString& queueName);

}  // namespace AppletNotes
