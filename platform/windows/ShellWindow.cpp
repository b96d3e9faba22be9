// The window of the shell, which is nothing but a handle, and the processes that windows belong to.
#include <unistd.h>
#include <windows.h>

#include "core/Gate.h"
#include "process/Processes.h"
#include "process/Surroundings.h"
#include "windows/Queue.h"
#include "windows/Window.h"

using namespace platform;

namespace {

// Below the handles of the windows that programs make.
const HWND kShellWindow = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x10002));

}  // namespace

// On the user's desktop alone.
HWND GetShellWindow() {
    static constinit CallSite site{__func__};
    Shell shell;
    return !site.fails() && isUsersDesktop(processDesktop()) && findOwnShell(shell) ? kShellWindow : nullptr;
}

// Of the shell's window and of this process's own.
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
