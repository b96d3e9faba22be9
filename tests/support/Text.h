// Text conversions for test output and file contents.
#pragma once

#include <string>

#include "common/WideText.h"

// Keeps a lone surrogate, as three bytes, instead of replacing it. So two texts are equal in UTF-8 exactly if they are
// equal in UTF-16.
std::string utf8(WideView text);
WideString wide(const std::string& asciiText);

inline bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
