// What the process is.
#pragma once

#include <string>

namespace platform {

// Windows path of the image.
std::u16string executablePath();

}  // namespace platform
