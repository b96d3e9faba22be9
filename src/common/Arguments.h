// Command lines: from one text to its arguments, and from an argument to its place in a text.
#pragma once

#include <vector>

#include "common/WideText.h"

// The arguments of a command line, the program's name first, as the system splits them. Empty on failure, with the
// reason in GetLastError. An empty text gives the path of this process's image.
std::vector<WideString> splitCommandLine(const WideString& command);

// The argument in double quotes, such that splitCommandLine gives it back.
WideString quoteArgument(WideView text);
