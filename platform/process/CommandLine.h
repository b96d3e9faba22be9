// Command lines, split as the shell library of Windows splits them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The program's name first; the line has one.
std::vector<std::u16string> splitCommandLine(std::u16string_view line);

}  // namespace platform
