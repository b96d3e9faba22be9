// The decisions of the dispatch to sessions: plain functions on values.
#pragma once

#include "common/WideText.h"

namespace SessionLauncher {

// Whether a user of the session may see notes: not in session 0, and where the session is active, connected or
// disconnected. `state` is a WTS_CONNECTSTATE_CLASS.
bool isDispatchableSession(DWORD sessionId, DWORD state);

// The quoted executable, and behind a blank the arguments, if there are any.
WideString commandLine(const WideString& executable, const WideString& arguments);

// The path up to and including its last separator; empty without one.
WideString workingFolder(const WideString& executable);

}  // namespace SessionLauncher
