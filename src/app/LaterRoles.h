// What is not built yet: the dispatch. It fails, and its role ends with the exit path that a failure has for good. This
// file goes away with it.
#pragma once

#include "app/CommandLine.h"

namespace SessionLauncher {
bool dispatchToSessions(const WideString& executable, const WideString& arguments);
}
