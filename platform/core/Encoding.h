// Conversion between UTF-8 and UTF-16 for the stand-in's own code.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Unpaired surrogates become U+FFFD, as in WideCharToMultiByte.
std::string toUtf8(std::u16string_view wide);
// Malformed sequences become U+FFFD, as in MultiByteToWideChar.
std::u16string toWide(std::string_view bytes);
bool isUtf8(std::string_view bytes);

}  // namespace platform
