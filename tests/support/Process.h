// The built program as a process.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "common/WideText.h"

struct ProcessResult {
    bool finished = false;  // false: it did not end in time, and was killed
    DWORD exitCode = 0;
    std::string output;       // bytes on standard output
    std::string debugOutput;  // what it told the debugger, as UTF-8
    std::string boxCaption;   // of the message box that it showed, which was then closed
    std::string boxText;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// Runs Vellumd, which lies beside the test program, to its end. `arguments` is the command line behind the program's
// name, as it stands; `environment` is set for the child only.
ProcessResult runVellumd(const WideString& arguments, const Environment& environment = {});
