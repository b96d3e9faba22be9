// What ends a command of vellumctl early: an exit code, and one line that says what is wrong and what would be right.
#pragma once

#include <string>

#include "common/WideText.h"

namespace ctl {

enum ExitCode : int {
    kDone = 0,       // for `wait`: the user has edited the note
    kNo = 1,         // there is no such note; a file has mistakes; something needs attention
    kUsage = 2,      // the command line, or a text that it names, cannot be used
    kFailed = 3,     // a call of the system failed
    kDismissed = 4,  // `wait`: the note is gone
    kTimedOut = 5,   // `wait`: the time is over
};

// Thrown by any part of a command; main() prints it.
struct Failure {
    ExitCode code;
    std::string text;  // UTF-8
};

// "cannot open C:\notes: access denied (Windows error 5)".
Failure systemFailure(const std::string& what, DWORD error);

// The same for the thread's last error, which the conversion of a path would change: "cannot read", path.
Failure lastFailure(const char* what, const WideString& path = {});

}  // namespace ctl
