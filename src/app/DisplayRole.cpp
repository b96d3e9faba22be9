// The display role: from the options to the first note on the screen, and the shutdown. Called by App::initialize and
// the entry function, on the main thread.
#include <objbase.h>

#include "app/App.h"
#include "app/ExitCode.h"
#include "app/InstanceNames.h"
#include "app/MessageWindow.h"
#include "common/AutoStart.h"
#include "common/Folders.h"
#include "common/Logger.h"
#include "common/Paths.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("App");
constexpr UINT_PTR kTimerId = 1;
constexpr UINT kTimerPeriodMs = 5000;

// The command that Windows runs at the user's next logon. It passes on the folder only: no instance, no other options.
WideString autoStartCommand(const WideString& folderOption) {
    WideString command = TEXT("\"") + executablePath() + TEXT("\"");
    if (!folderOption.empty()) command += TEXT(" --folder \"") + folderOption + TEXT("\"");
    return command;
}

void wakeFirstInstance() {
    if (wakeUpMessage == 0) return;
    DWORD recipients = BSM_APPLICATIONS;
    BroadcastSystemMessageW(BSF_POSTMESSAGE | BSF_IGNORECURRENTTASK, &recipients, wakeUpMessage, 0, 0);
}

}  // namespace

int App::startDisplay(const CommandLineOptions& options) {
    if (const int failed = openNotesFolder(options); failed != kSuccess) return failed;

    const WideString suffix = instanceSuffix(options.instanceName);
    wakeUpMessage = RegisterWindowMessageW((TEXT("Vellumd.WakeUp") + suffix).c_str());
    int exitCode = kSuccess;
    // In a queue the lease already keeps other processes out.
    if (!lease_.active() && !claimInstance(TEXT("Local\\Vellumd.SingleInstance.v1") + suffix, exitCode))
        return exitCode;

    if (!startDrawing()) return kDrawingFailed;
    registerAutoStart(options.folderOption);
    if (!createMessageWindow()) return kMessageWindowFailed;
    if (!NoteWindow::registerClass(hInstance_)) {
        logWrite(LogLevel::Error, kComponent, TEXT("Failed to register NoteWindow class; err=%lu"), GetLastError());
        return kNoteClassFailed;
    }

    scanFolder();
    startWatching();
    SetTimer(messageWindow_, kTimerId, kTimerPeriodMs, nullptr);
    logWrite(LogLevel::Info, kComponent, TEXT("Started; %zu note(s) loaded"), notes_.size());
    return kEnterMessageLoop;
}

// Each instance has its own subfolder.
int App::openNotesFolder(const CommandLineOptions& options) {
    notesFolder_ = options.folderOption.empty() ? defaultNotesFolder() : options.folderOption;
    if (notesFolder_.empty()) {
        logWrite(LogLevel::Error, kComponent, TEXT("Cannot determine notes folder"));
        return kNoNotesFolder;
    }
    notesFolder_ = joinPath(notesFolder_, instanceFolder(options.instanceName));
    logWrite(LogLevel::Info, kComponent, TEXT("Notes folder: %ls"), notesFolder_.c_str());
    if (createDirectoryTree(notesFolder_)) return kSuccess;
    logWrite(LogLevel::Error, kComponent, TEXT("Cannot create notes folder: %ls (GetLastError=%lu)"),
             notesFolder_.c_str(), GetLastError());
    return kNotesFolderFailed;
}

// False when this process has to exit with `exitCode`. If another process shows the notes already, it is told to scan
// the folder again.
bool App::claimInstance(const WideString& mutexName, int& exitCode) {
    instanceMutex_.reset(CreateMutexW(nullptr, TRUE, mutexName.c_str()));
    const DWORD err = GetLastError();
    if (!instanceMutex_) {
        logWrite(LogLevel::Error, kComponent, TEXT("CreateMutex failed; err=%lu"), err);
        exitCode = kMutexFailed;
        return false;
    }
    if (err != ERROR_ALREADY_EXISTS) return true;
    logWrite(LogLevel::Info, kComponent, TEXT("Another instance is running (mutex=%ls); sending wake-up and exiting"),
             mutexName.c_str());
    wakeFirstInstance();
    exitCode = kSuccess;
    return false;
}

bool App::startDrawing() {
    const Gdiplus::GdiplusStartupInput version1;
    if (Gdiplus::GdiplusStartup(gdiplusToken_.put(), &version1, nullptr) == Gdiplus::Ok) return true;
    logWrite(LogLevel::Error, kComponent, TEXT("GdiplusStartup failed"));
    return false;
}

void App::registerAutoStart(const WideString& folderOption) const {
    if (noAutostart_) {
        logWrite(LogLevel::Info, kComponent, TEXT("Auto-start skipped (--no-autostart)"));
        return;
    }
    const WideString command = autoStartCommand(folderOption);
    if (setAutoStart(command)) {
        logWrite(LogLevel::Debug, kComponent, TEXT("Auto-start registered: %ls"), command.c_str());
    } else {
        logWrite(LogLevel::Warn, kComponent, TEXT("Auto-start registration failed (err=%lu); continuing without it"),
                 GetLastError());
    }
}

// A file that is written between the scan and the watcher's first read is found at the next wake-up only.
void App::startWatching() {
    if (watcher_.start(notesFolder_, messageWindow_)) return;
    logWrite(LogLevel::Warn, kComponent, TEXT("FolderWatcher failed to start; new notes will not appear"));
}

// Does not destroy the windows of the notes: the end of the process does.
void App::shutdown() {
    logWrite(LogLevel::Info, kComponent, TEXT("Shutting down"));
    watcher_.stop();
    notes_.clear();
    // If the window cannot be destroyed, its procedure must not use this object any more.
    if (messageWindow_ != nullptr && !DestroyWindow(messageWindow_))
        SetWindowLongPtrW(messageWindow_, GWLP_USERDATA, 0);
    messageWindow_ = nullptr;
    gdiplusToken_.reset();
    instanceMutex_.reset();
    if (comInitialized_) CoUninitialize();
    comInitialized_ = false;
    logClose();
}
