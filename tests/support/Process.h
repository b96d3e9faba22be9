// Runs the built programs as processes.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "common/WideText.h"

struct ProcessResult {
    bool finished = false;  // false: it timed out and was killed
    DWORD exitCode = 0;
    std::string output;       // bytes on standard output
    std::string debugOutput;  // OutputDebugString text in UTF-8
    std::string boxCaption;   // caption of the message box that it showed; the test closed the box
    std::string boxText;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// Runs Vellumd from the test program's folder until it ends. `arguments` follows the program name on the command line,
// unchanged. `environment` is set for the child only.
ProcessResult runVellumd(const WideString& arguments, const Environment& environment = {});

struct ConsoleResult {
    DWORD exitCode = 0xffffffff;  // this one: it timed out and was killed
    std::string output;           // bytes on standard output
    std::string errors;           // bytes on standard error
};

// Runs vellumctl in the same way, with `input` on its standard input.
ConsoleResult runVellumctl(const WideString& arguments, const std::string& input = {});
