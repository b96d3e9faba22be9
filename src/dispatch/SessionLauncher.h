// Starts a display process in every session that has a user, under that user's limited token and on his desktop. It
// does not ask whether one runs there already: a surplus process finds the mutex of its session taken and ends. Only
// LocalSystem can do this. Failures are in the log; a session that fails does not stop the others.
#pragma once

#include "common/WideText.h"
#include "dispatch/SessionPlan.h"

namespace SessionLauncher {

// `arguments` are handed to each process as they stand. True when every session was served.
bool dispatchToSessions(const WideString& executable, const WideString& arguments);

// True when the process is LocalSystem, with the privileges on that the dispatch needs.
bool enablePrivileges();

// True when a process was started, and for a session without a user.
bool launchInSession(DWORD sessionId, const WideString& executable, const WideString& arguments);

}  // namespace SessionLauncher
