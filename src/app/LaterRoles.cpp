#include "app/LaterRoles.h"

#include "app/ExitCode.h"

namespace {
constexpr const WCHAR* kNotBuilt = TEXT("the scheduled task is not part of this build");
}

int runAppletDisplay() {
    logWrite(LogLevel::Error, TEXT("App"), TEXT("Applet queue context/lease rejected (err=%lu)"),
             DWORD{ERROR_CALL_NOT_IMPLEMENTED});
    return kAppletStartFailed;
}

int runRecovery() {
    logWrite(LogLevel::Error, TEXT("App"), TEXT("Applet recovery context rejected (err=%lu)"),
             DWORD{ERROR_CALL_NOT_IMPLEMENTED});
    return kAppletStartFailed;
}

bool startAtMediumIntegrity(const WideString&, bool& relaunched, DWORD& err) {
    relaunched = false;
    err = ERROR_CALL_NOT_IMPLEMENTED;
    return false;
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
