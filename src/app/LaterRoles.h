// What is not built yet: the dispatch and the scheduled task. Each of these operations fails, and
// its role ends with the exit path that a failure has for good. This file goes away with the last of them.
#pragma once

#include "app/CommandLine.h"

namespace SessionLauncher {
bool dispatchToSessions(const WideString& executable, const WideString& arguments);
}

namespace TaskSched {
bool registerRecoveryTask(const WideString& name, const WideString& executable, const WideString& arguments,
                          bool runNow, WideString& error);
bool deleteRecoveryTask(const WideString& name, WideString& error);
}  // namespace TaskSched
