// Splitting a command line into arguments, and quoting an argument for a command line.
#pragma once

#include <vector>

#include "common/WideText.h"

// The arguments of a command line as CommandLineToArgvW splits it, the program's name first. Empty on failure, with the
// reason in GetLastError. An empty `command` gives the path of this process's image.
std::vector<WideString> splitCommandLine(const WideString& command);

// Puts the argument in double quotes so that splitCommandLine returns it unchanged.
WideString quoteArgument(WideView text);
