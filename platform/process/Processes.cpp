// Opens processes, and the tokens of processes and threads. Called by the product on any thread. Each call reads the
// shells from machine.txt.
#include "process/Processes.h"

#include <unistd.h>
#include <windows.h>

#include <cstring>

#include "core/Error.h"
#include "core/Gate.h"
#include "machine/NativePath.h"
#include "machine/TokenText.h"
#include "process/MachineProcesses.h"
#include "process/Process.h"

namespace platform {
namespace {

constexpr DWORD kFirstShell = 0x40000000;  // far above the process ids of Linux

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

// False if there is no other process with this id.
bool tokenOf(DWORD processId, Token& token) {
    Shell shell;
    MachineProcess process;
    if (findShell(processId, shell))
        token = shell.token;
    else if (findMachineProcess(processId, process))
        token = process.token;
    else
        return false;
    return true;
}

std::u16string imageOf(DWORD processId) {
    if (processId == static_cast<DWORD>(getpid())) return imagePath();
    if (processId >= kFirstShell) return u"C:\\Windows\\explorer.exe";
    MachineProcess process;
    return findMachineProcess(processId, process) ? windowsPath(process.image) : u"";
}

// A process may be opened by its user and by administrators.
bool mayOpen(const Token& token) {
    return token.user == processToken().user || isAdministrator();
}

}  // namespace

std::shared_ptr<ProcessObject> findProcess(HANDLE handle, DWORD right) {
    if (handle == GetCurrentProcess())
        return std::make_shared<ProcessObject>(static_cast<DWORD>(getpid()), processTokenState(), kAllProcessRights);
    auto process = find<ProcessObject>(handle);
    if (process == nullptr || (process->access & right) == right) return process;
    return refuse(ERROR_ACCESS_DENIED);
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

HANDLE OpenProcess(DWORD access, BOOL, DWORD processId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    if (processId == static_cast<DWORD>(getpid()))
        return openHandle(std::make_shared<ProcessObject>(processId, processTokenState(), access));
    Token token;
    if (!tokenOf(processId, token)) return refuse(ERROR_INVALID_PARAMETER);
    if (!mayOpen(token)) return refuse(ERROR_ACCESS_DENIED);
    return openHandle(std::make_shared<ProcessObject>(processId, makeToken(token), access));
}

BOOL ProcessIdToSessionId(DWORD processId, DWORD* sessionId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    Token token = processToken();
    if (processId != static_cast<DWORD>(getpid()) && !tokenOf(processId, token)) return refuse(ERROR_INVALID_PARAMETER);
    *sessionId = token.sessionId;
    return TRUE;
}

BOOL QueryFullProcessImageNameW(HANDLE handle, DWORD flags, LPWSTR path, DWORD* units) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto process = findProcess(handle, PROCESS_QUERY_LIMITED_INFORMATION);
    if (process == nullptr) return FALSE;
    if (flags != 0) return refuse(ERROR_INVALID_PARAMETER);
    const std::u16string image = imageOf(process->id);
    if (image.empty()) return refuse(ERROR_GEN_FAILURE);  // it has ended
    if (image.size() >= *units) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(path, image.c_str(), (image.size() + 1) * sizeof(WCHAR));
    *units = static_cast<DWORD>(image.size());
    return TRUE;
}

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto opened = findProcess(process, PROCESS_QUERY_LIMITED_INFORMATION);
    if (opened == nullptr) return FALSE;
    *token = openTokenHandle(opened->token, access);
    return TRUE;
}

// Opens the token of the calling thread only.
BOOL OpenThreadToken(HANDLE thread, DWORD access, BOOL, PHANDLE token) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (thread != GetCurrentThread()) return refuse(ERROR_INVALID_HANDLE);
    if (!processToken().isImpersonating) return refuse(ERROR_NO_TOKEN);
    *token = openTokenHandle(makeToken(processToken(), TokenImpersonation), access);
    return TRUE;
}
