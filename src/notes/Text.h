// Conversion between UTF-8, as files hold text, and UTF-16, as memory does. Text is never refused: what cannot be
// converted becomes U+FFFD, as the platform's own conversion treats it.
#pragma once

#include <string>
#include <string_view>

#include "common/WideText.h"

// Empty for an empty or absent text, and where the platform's conversion fails.
WideString utf8ToWide(const char* bytes, std::size_t length);
WideString utf8ToWide(std::string_view bytes);

// An unpaired surrogate comes out as U+FFFD. Empty for an empty text, and where the platform's conversion fails.
std::string wideToUtf8(const WCHAR* text, std::size_t length);
std::string wideToUtf8(WideView text);
