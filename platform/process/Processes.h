// Processes that handles are opened to: this one, those that the machine describes (the shell of a session), and
// children.
#pragma once

#include <windef.h>

#include <memory>

#include "core/Waitable.h"
#include "security/Token.h"

namespace platform {

constexpr DWORD kAllProcessRights = 0x1FFFFF;

// A handle's view of a process. Who starts processes derives from it.
struct ProcessObject : Waitable {
    ProcessObject(DWORD processId, std::shared_ptr<TokenState> runsUnder, DWORD granted)
        : id(processId), token(std::move(runsUnder)), access(granted) {}
    const DWORD id;
    const std::shared_ptr<TokenState> token;
    const DWORD access;
};

// What GetCurrentProcess gives is a handle as well. Null, with the last error 6 or 5, when it is no handle of a
// process or was not opened with that right.
std::shared_ptr<ProcessObject> findProcess(HANDLE handle, DWORD right);

// The shell of a session is no real process: it has a number beyond those of Linux, a thread and a window.
struct Shell {
    DWORD processId = 0;
    DWORD threadId = 0;
    DWORD sessionId = 0;
    Token token;
};
// False when there is none with this number at this moment.
bool findShell(DWORD processId, Shell& shell);
// The shell of the session that this process runs in.
bool findOwnShell(Shell& shell);

}  // namespace platform
