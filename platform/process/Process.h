// What the process is.
#pragma once

#include <string>
#include <vector>

namespace platform {

// Windows path of the image.
std::u16string imagePath();

// Makes the text that GetCommandLineW gives from the arguments of main(), the program's name first.
void setCommandLine(const std::vector<std::string>& arguments);

}  // namespace platform
