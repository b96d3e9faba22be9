// Splits command lines like the Windows shell library.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The first element is the program name; the line must have one.
std::vector<std::u16string> splitCommandLine(std::u16string_view line);

}  // namespace platform
