// Processes that a handle can refer to: those of the machine, and the shells that machine.txt describes.
#pragma once

#include <windef.h>

#include <memory>

#include "core/Waitable.h"
#include "security/Token.h"

namespace platform {

constexpr DWORD kAllProcessRights = 0x1FFFFF;

// A process as a handle sees it. Children.cpp derives its child processes from it.
struct ProcessObject : Waitable {
    ProcessObject(DWORD processId, std::shared_ptr<TokenState> runsUnder, DWORD granted)
        : id(processId), token(std::move(runsUnder)), access(granted) {}
    const DWORD id;
    const std::shared_ptr<TokenState> token;
    const DWORD access;
};

// Also accepts the pseudo handle of GetCurrentProcess. Null, with error 6 if the handle is not a process, or error 5 if
// it was opened without that right.
std::shared_ptr<ProcessObject> findProcess(HANDLE handle, DWORD right);

// The shell of a session. It is not a real process: it only has a process id above those of Linux, a thread id and a
// window.
struct Shell {
    DWORD processId = 0;
    DWORD threadId = 0;
    DWORD sessionId = 0;
    Token token;
};
// False if no shell has this process id now.
bool findShell(DWORD processId, Shell& shell);
// The shell of this process's session.
bool findOwnShell(Shell& shell);

}  // namespace platform
