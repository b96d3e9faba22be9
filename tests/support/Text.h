// Text in tests: UTF-8 for what is printed and for what files hold.
#pragma once

#include <string>

#include "common/WideText.h"

// Code points as they are: a lone surrogate becomes three bytes of its own, so that two texts are equal in UTF-8
// exactly if they are equal in UTF-16.
std::string utf8(WideView text);
WideString wide(const std::string& asciiText);

inline bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
