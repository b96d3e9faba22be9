#include "process/Processes.h"

#include <unistd.h>
#include <windows.h>

#include "core/Gate.h"
#include "machine/TokenText.h"
#include "process/Surroundings.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {
namespace {

constexpr DWORD kFirstShell = 0x40000000;  // Linux numbers its processes far below
constexpr DWORD kAllRights = 0x1FFFFF;

// Below the handles of the windows that programs make.
const HWND kShellWindow = reinterpret_cast<HWND>(static_cast<ULONG_PTR>(0x10002));

template <typename Predicate>
bool findShellIf(Predicate isWanted, Shell& shell) {
    const MachineDescription now = machineNow();
    for (const Session& session : now.sessions) {
        if (!session.hasShell || session.user.empty()) continue;
        const DWORD processId = kFirstShell + session.id * 8;
        shell = {processId, processId + 4, session.id, shellToken(now, session)};
        if (isWanted(shell)) return true;
    }
    return false;
}

// A user's processes are his own, and the administrators'.
bool mayOpen(const Token& token) {
    return token.user == processToken().user || isAdministrator();
}

}  // namespace

std::shared_ptr<ProcessObject> findProcess(HANDLE handle, DWORD right) {
    if (handle == GetCurrentProcess())
        return std::make_shared<ProcessObject>(static_cast<DWORD>(getpid()), processTokenState(), kAllRights);
    auto process = find<ProcessObject>(handle);
    if (process == nullptr || (process->access & right) == right) return process;
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

bool findShell(DWORD processId, Shell& shell) {
    return findShellIf([&](const Shell& any) { return any.processId == processId; }, shell);
}

bool findOwnShell(Shell& shell) {
    return findShellIf([](const Shell& any) { return any.sessionId == processToken().sessionId; }, shell);
}

}  // namespace platform

using namespace platform;

DWORD GetCurrentProcessId() {
    static constinit CallSite site{__func__};
    site.pass();
    return static_cast<DWORD>(getpid());
}

HANDLE GetCurrentProcess() {
    static constinit CallSite site{__func__};
    site.pass();
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));
}

HANDLE GetCurrentThread() {
    static constinit CallSite site{__func__};
    site.pass();
    return reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2));
}

// Of this process and of shells: nobody asks for another's.
HANDLE OpenProcess(DWORD access, BOOL, DWORD processId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    if (processId == static_cast<DWORD>(getpid()))
        return openHandle(std::make_shared<ProcessObject>(processId, processTokenState(), access));
    Shell shell;
    if (!findShell(processId, shell)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!mayOpen(shell.token)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return openHandle(std::make_shared<ProcessObject>(processId, makeToken(shell.token), access));
}

BOOL ProcessIdToSessionId(DWORD processId, DWORD* sessionId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    Shell shell;
    if (processId == static_cast<DWORD>(getpid()))
        *sessionId = processToken().sessionId;
    else if (findShell(processId, shell))
        *sessionId = shell.sessionId;
    else {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return TRUE;
}

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
