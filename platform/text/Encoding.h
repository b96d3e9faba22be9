// UTF-8 and UTF-16 inside the stand-in.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// Unpaired surrogates become U+FFFD, as WideCharToMultiByte makes them.
std::string toUtf8(std::u16string_view wide);
// Malformed bytes become U+FFFD, one for each byte.
std::u16string toWide(std::string_view bytes);

}  // namespace platform
