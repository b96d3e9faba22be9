// The image path and command line of this process.
#pragma once

#include <string>
#include <vector>

namespace platform {

// Windows path of the executable.
std::u16string imagePath();

// Builds the text for GetCommandLineW from the arguments of main(). The first one is the program name.
void setCommandLine(const std::vector<std::string>& arguments);

}  // namespace platform
