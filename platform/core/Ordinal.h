// Names of files, keys and variables are compared ordinally, ignoring case.
#pragma once

#include <string_view>

namespace platform {

char16_t foldOrdinal(char16_t unit);
bool equalsOrdinal(std::u16string_view left, std::u16string_view right);
// Negative, 0 or positive: which one comes first, by the numbers of their units.
int compareOrdinal(std::u16string_view left, std::u16string_view right, bool ignoreCase);

}  // namespace platform
