// The start of the process: common initialization, the choice of the role, and the roles that only talk to the system
// (task management, dispatch to sessions). Main thread.
#include "app/App.h"

#include <commctrl.h>
#include <objbase.h>

#include "app/ExitCode.h"
#include "common/Arguments.h"
#include "common/Folders.h"
#include "common/Logger.h"
#include "dispatch/SessionLauncher.h"
#include "dispatch/TaskSched.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("App");

void initializeCommonControls() {
    INITCOMMONCONTROLSEX controls = {};
    controls.dwSize = sizeof controls;
    controls.dwICC = ICC_STANDARD_CLASSES;
    InitCommonControlsEx(&controls);  // failure is harmless
}

void showHelp() {
    MessageBoxW(nullptr, helpText().c_str(), TEXT("Vellumd"), MB_ICONINFORMATION);
}

bool isAppletRole(const CommandLineOptions& options) {
    return options.appletQueue || options.appletRecover;
}

// The applet roles never open a log file: their lines go to the debugger only.
void startLog(const CommandLineOptions& options) {
    if (isAppletRole(options)) {
        logSetLevel(options.logLevel);
    } else {
        logOpen(options.logLevel, options.instanceName.empty() ? nullptr : options.instanceName.c_str());
    }
    logWrite(LogLevel::Info, kComponent, TEXT("Vellumd starting; pid=%lu"), GetCurrentProcessId());
}

int registerTask(const CommandLineOptions& options) {
    const WideString name = taskName(options.instanceName);
    WideString error;
    if (TaskSched::registerRecoveryTask(name, executablePath(),
                                        TEXT("--launch-user-sessions ") + forwardedArguments(options), true, &error)) {
        logWrite(LogLevel::Info, kComponent, TEXT("/register completed for task '%ls'"), name.c_str());
        return kSuccess;
    }
    logWrite(LogLevel::Error, kComponent, TEXT("/register failed: %ls"), error.c_str());
    return kRegisterFailed;
}

int deleteTask(const CommandLineOptions& options) {
    const WideString name = taskName(options.instanceName);
    WideString error;
    if (TaskSched::deleteRecoveryTask(name, &error)) {
        logWrite(LogLevel::Info, kComponent, TEXT("/delete completed for task '%ls'"), name.c_str());
        return kSuccess;
    }
    logWrite(LogLevel::Error, kComponent, TEXT("/delete failed: %ls"), error.c_str());
    return kDeleteFailed;
}

int launchSessions(const CommandLineOptions& options) {
    const bool served = SessionLauncher::dispatchToSessions(executablePath(), forwardedArguments(options));
    return served ? kSuccess : kDispatchFailed;
}

}  // namespace

int App::initialize(HINSTANCE instance, const WideString&) {
    hInstance_ = instance;
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE))) return kComFailed;
    comInitialized_ = true;
    initializeCommonControls();

    // If the command line cannot be split, there are no options.
    const CommandLineOptions options = scanOptions(splitCommandLine(GetCommandLineW()));
    if (options.helpRequested) {
        showHelp();
        return kSuccess;
    }
    noAutostart_ = options.noAutostart;
    if (isAppletRole(options) && appletArgumentsRejected(options)) {
        OutputDebugStringW(TEXT("AppletNotes: invalid applet queue arguments\n"));
        return kAppletArgumentsRejected;
    }
    if (isAppletRole(options)) noAutostart_ = true;
    startLog(options);

    if (isAppletRole(options)) return startApplet(options);
    if (options.registerTask || options.deleteTask || options.launchSessions) return dispatchOrManageTask(options);
    return startDisplay(options);
}

int App::dispatchOrManageTask(const CommandLineOptions& options) {
    if (options.registerTask + options.deleteTask + options.launchSessions > 1) {
        logWrite(LogLevel::Error, kComponent, TEXT("Task management and session dispatch actions cannot be combined"));
        return kActionsCombined;
    }
    if (options.launchSessions) return launchSessions(options);
    return options.deleteTask ? deleteTask(options) : registerTask(options);
}
