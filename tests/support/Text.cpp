#include "support/Text.h"

namespace {

void append(std::string& out, unsigned long c) {
    const auto byte = [&out](unsigned long value) { out.push_back(static_cast<char>(value)); };
    if (c < 0x80) return byte(c);
    if (c < 0x800) return byte(0xC0 | (c >> 6)), byte(0x80 | (c & 0x3F));
    if (c >= 0x10000)
        byte(0xF0 | (c >> 18)), byte(0x80 | ((c >> 12) & 0x3F));
    else
        byte(0xE0 | (c >> 12));
    byte(0x80 | ((c >> 6) & 0x3F)), byte(0x80 | (c & 0x3F));
}

}  // namespace

std::string utf8(WideView text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned long c = text[i];
        const bool isPair = (c & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (isPair) c = 0x10000 + ((c & 0x3FF) << 10) + (static_cast<unsigned long>(text[++i]) & 0x3FF);
        append(out, c);
    }
    return out;
}

WideString wide(const std::string& asciiText) {
    return WideString(asciiText.begin(), asciiText.end());
}
