// Bytes of the code pages that RTF may be written in.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

constexpr unsigned kWesternCodePage = 1252;

// What the code page does not know becomes U+FFFD; a code page that nobody knows is read as 1252.
std::u16string decodeCodePage(std::string_view bytes, unsigned codePage);
// The byte of code page 1252 for this unit; none when it has no such character.
std::optional<unsigned char> westernByte(char16_t unit);

}  // namespace platform
