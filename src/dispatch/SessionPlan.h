// The decisions of the dispatch to sessions. Plain functions on values.
#pragma once

#include "common/WideText.h"

namespace SessionLauncher {

// Whether a session gets a display process: not session 0, and it is active, connected or disconnected. `state` is a
// WTS_CONNECTSTATE_CLASS.
bool isDispatchableSession(DWORD sessionId, DWORD state);

// The quoted executable, followed by a blank and the arguments if there are any.
WideString commandLine(const WideString& executable, const WideString& arguments);

// The path up to and including its last separator; empty if it has none.
WideString workingFolder(const WideString& executable);

}  // namespace SessionLauncher
