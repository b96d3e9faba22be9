// Starts a display process in every session that has a user, with the user's limited token and on the user's desktop.
// It does not check whether one is running there: a second process exits when it finds the mutex of the session taken.
// Needs LocalSystem. Failures are logged; a failure in one session does not stop the others. Main thread.
#pragma once

#include "common/WideText.h"
#include "dispatch/SessionPlan.h"

namespace SessionLauncher {

// Serves all sessions. `arguments` is appended to each command line. True when every session was served.
bool dispatchToSessions(const WideString& executable, const WideString& arguments);

// Enables the privileges that the dispatch needs. False when the process does not run as LocalSystem, or a privilege
// cannot be enabled.
bool enablePrivileges();

// Starts a process in one session. True also when the session has no user.
bool launchInSession(DWORD sessionId, const WideString& executable, const WideString& arguments);

}  // namespace SessionLauncher
