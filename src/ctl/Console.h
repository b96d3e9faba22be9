// Standard input, output and error as UTF-8. A pipe or a file gets the bytes; a console gets the characters, whatever
// its code page is. Main thread.
#pragma once

#include <string>
#include <string_view>

namespace ctl {

// Throws Failure when the text cannot be written, for example into a closed pipe.
void printOut(std::string_view text);

// Writes "vellumctl: ", the text and a line feed to standard error. Nobody hears of a failure.
void printError(std::string_view text);

// All of standard input, without a byte order mark. From a console: what is typed until Ctrl+Z. Throws Failure.
std::string readInput();

}  // namespace ctl
