// Ordinal comparison, which Windows uses for the names of files, registry keys and variables.
#pragma once

#include <string_view>

namespace platform {

char16_t foldOrdinal(char16_t unit);
bool equalsOrdinal(std::u16string_view left, std::u16string_view right);
// Returns a negative value, 0 or a positive value, by the numeric values of the units.
int compareOrdinal(std::u16string_view left, std::u16string_view right, bool ignoreCase);

}  // namespace platform
