// The environment of the process: that of Linux, over what machine.txt gives every process.
#pragma once

#include <string>
#include <vector>

namespace platform {

void resetEnvironment();  // after a move to another machine
// "NAME=value", for a child.
std::vector<std::string> environmentTexts();

}  // namespace platform
