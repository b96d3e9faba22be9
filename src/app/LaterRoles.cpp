#include "app/LaterRoles.h"

bool SessionLauncher::dispatchToSessions(const WideString&, const WideString&) {
    logWrite(LogLevel::Error, TEXT("SessionLauncher"), TEXT("The dispatch to sessions is not part of this build"));
    return false;
}
