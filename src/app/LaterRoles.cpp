#include "app/LaterRoles.h"

namespace {
constexpr const WCHAR* kNotBuilt = TEXT("the scheduled task is not part of this build");
}

bool SessionLauncher::dispatchToSessions(const WideString&, const WideString&) {
    logWrite(LogLevel::Error, TEXT("SessionLauncher"), TEXT("The dispatch to sessions is not part of this build"));
    return false;
}

bool TaskSched::registerRecoveryTask(const WideString&, const WideString&, const WideString&, bool, WideString& error) {
    error = kNotBuilt;
    return false;
}

bool TaskSched::deleteRecoveryTask(const WideString&, WideString& error) {
    error = kNotBuilt;
    return false;
}
