// The roles of the private queues: --applet-queue shows one queue, --applet-recover takes over the queues of logons
// that have ended. Their log lines go to the debugger only. Main thread.
#include "app/App.h"
#include "app/ExitCode.h"
#include "applet/AppletLaunch.h"
#include "applet/Recovery.h"
#include "applet/StartupEntry.h"
#include "common/Logger.h"

using namespace AppletNotes;

namespace {

constexpr const WCHAR* kComponent = TEXT("App");

OwnerState ownerOf(const LogonIdentity& identity, const AppletContext& context) {
    DWORD err = ERROR_SUCCESS;
    const OwnerState state = lookupOwner(identity, sidOf(context.userSid), err);
    if (state == OwnerState::Unknown)
        logWrite(LogLevel::Warn, kComponent, TEXT("Applet queue owner lookup deferred (err=%lu)"), err);
    return state;
}

void logResult(const RecoveryResult& result) {
    logWrite(LogLevel::Info, kComponent,
             TEXT("Applet recovery: claimed=%u dispatched=%u live=%u unknown=%u deferred=%u failed=%u incomplete=%u"),
             result.claimed, result.dispatched, result.live, result.unknown, result.deferred, result.failed,
             result.incomplete ? 1U : 0U);
    if (result.lastError != ERROR_SUCCESS)
        logWrite(LogLevel::Warn, kComponent, TEXT("Applet recovery: %ls, queue=%ls (err=%lu)"), result.stage.c_str(),
                 result.queue.c_str(), result.lastError);
}

int exitCodeOf(const RecoveryResult& result) {
    if (result.failed != 0) return kRecoveryFailed;
    return result.deferred != 0 || result.unknown != 0 || result.incomplete ? kRecoveryIncomplete : kSuccess;
}

int runRecovery() {
    DWORD err = ERROR_SUCCESS;
    AppletContext context;
    if (!readAppletContext(context, err, false)) {
        logWrite(LogLevel::Error, kComponent, TEXT("Applet recovery context rejected (err=%lu)"), err);
        return kAppletStartFailed;
    }
    QueueStore store;
    if (!store.open(context.storeRoot, sidOf(context.userSid), false, err)) {
        if (err == ERROR_FILE_NOT_FOUND || err == ERROR_PATH_NOT_FOUND) return kSuccess;  // no store, so no queues
        logWrite(LogLevel::Error, kComponent, TEXT("Applet recovery store rejected (err=%lu)"), err);
        return kAppletStartFailed;
    }
    const OwnerLookup ownerLookup = [&](const LogonIdentity& identity) { return ownerOf(identity, context); };
    const RecoveryResult result = recoverQueues(store, context.identity, ownerLookup, dispatchQueue);
    logResult(result);
    if (!store.cleanupEmptyStore([&] { return removeStartupEntry(context.storeRoot); }, err) && err != ERROR_SUCCESS)
        logWrite(LogLevel::Warn, kComponent, TEXT("Applet empty-store startup cleanup deferred (err=%lu)"), err);
    return exitCodeOf(result);
}

}  // namespace

int App::startApplet(const CommandLineOptions& options) {
    bool relaunched = false;
    DWORD err = ERROR_SUCCESS;
    if (!startAtMediumIntegrity(options.instanceName, relaunched, err)) {
        logWrite(LogLevel::Error, kComponent, TEXT("Applet medium-integrity startup failed (err=%lu)"), err);
        return kAppletStartFailed;
    }
    if (relaunched) return kSuccess;  // the child process does the work
    return options.appletRecover ? runRecovery() : startAppletDisplay(options);
}

// The notes folder is the queue's folder in the store: store root plus instance name, which is the queue name.
int App::startAppletDisplay(const CommandLineOptions& options) {
    CommandLineOptions display = options;
    {
        DWORD err = ERROR_SUCCESS;
        AppletContext context;
        QueueStore store;
        if (!readAppletContext(context, err, false) ||
            !store.open(context.storeRoot, sidOf(context.userSid), false, err) ||
            !QueueLease::open(store, options.instanceName, context.identity, lease_, err)) {
            logWrite(LogLevel::Error, kComponent, TEXT("Applet queue context/lease rejected (err=%lu)"), err);
            return kAppletStartFailed;
        }
        display.folderOption = context.storeRoot;
    }
    return startDisplay(display);
}
