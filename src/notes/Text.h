// Conversion between UTF-8 (in files) and UTF-16 (in memory), by the calls of Windows. No text is refused: what cannot
// be converted becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

#include "common/WideText.h"

// Empty for an empty or null text, and when the conversion fails.
WideString utf8ToWide(const char* bytes, std::size_t length);
WideString utf8ToWide(std::string_view bytes);

// An unpaired surrogate becomes U+FFFD. Empty for an empty or null text, and when the conversion fails.
std::string wideToUtf8(const WCHAR* text, std::size_t length);
std::string wideToUtf8(WideView text);
