// Converts between UTF-16 and the code pages that RTF may use.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

constexpr unsigned kWesternCodePage = 1252;

// Bytes without a character become U+FFFD. An unknown code page is read as 1252.
std::u16string decodeCodePage(std::string_view bytes, unsigned codePage);
// The byte for this unit in code page 1252, or nullopt if the code page lacks the character.
std::optional<unsigned char> westernByte(char16_t unit);

}  // namespace platform
