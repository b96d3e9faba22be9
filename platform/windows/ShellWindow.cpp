// The shell's window, which is only a handle, and the process ids of windows.
#include <unistd.h>
#include <windows.h>

#include "core/Gate.h"
#include "process/Processes.h"
#include "process/Surroundings.h"
#include "windows/Queue.h"
#include "windows/Window.h"

using namespace platform;

namespace {

// Smaller than all handles of program windows.
const HWND kShellWindow = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x10002));

}  // namespace

// Returns the window only on the user's desktop.
HWND GetShellWindow() {
    static constinit CallSite site{__func__};
    Shell shell;
    return !site.fails() && isUsersDesktop(processDesktop()) && findOwnShell(shell) ? kShellWindow : nullptr;
}

// Supports the shell's window and the windows of this process.
DWORD GetWindowThreadProcessId(HWND handle, LPDWORD processId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    Shell shell;
    if (handle == kShellWindow && findOwnShell(shell)) {
        if (processId != nullptr) *processId = shell.processId;
        return shell.threadId;
    }
    const auto window = findWindow(handle);
    if (window == nullptr) return 0;
    if (processId != nullptr) *processId = static_cast<DWORD>(getpid());
    return window->queue->threadId;
}
