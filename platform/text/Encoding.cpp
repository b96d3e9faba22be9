#include "text/Encoding.h"

#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winnls.h>

#include <cstring>

#include "Gate.h"

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t c) {
    const auto byte = [&out](char32_t value) { out.push_back(static_cast<char>(value)); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | (c >> 6));
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | (c >> 12));
        byte(0x80 | ((c >> 6) & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | (c >> 18));
        byte(0x80 | ((c >> 12) & 0x3F));
        byte(0x80 | ((c >> 6) & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

// The character that starts at `at`, which moves behind it.
char32_t decodeUtf8(std::string_view bytes, std::size_t& at) {
    const auto unit = [&](std::size_t index) {
        return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U;
    };
    const unsigned lead = unit(at++);
    if (lead < 0x80) return lead;
    const unsigned length = lead >= 0xC2 && lead <= 0xDF   ? 2
                            : lead >= 0xE0 && lead <= 0xEF ? 3
                            : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                           : 0;
    if (length == 0) return kReplacement;
    char32_t c = lead & (0x7FU >> length);
    for (unsigned i = 0; i + 1 < length; ++i) {
        if ((unit(at + i) & 0xC0U) != 0x80U) return kReplacement;
        c = (c << 6) | (unit(at + i) & 0x3FU);
    }
    const bool overlong = (length == 3 && c < 0x800) || (length == 4 && c < 0x10000);
    if (overlong || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kReplacement;
    at += length - 1;
    return c;
}

}  // namespace

std::string toUtf8(std::u16string_view wide) {
    std::string out;
    out.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i) {
        char32_t c = wide[i];
        if (isHighSurrogate(wide[i]) && i + 1 < wide.size() && isLowSurrogate(wide[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[++i] - 0xDC00U);
        } else if (isHighSurrogate(wide[i]) || isLowSurrogate(wide[i])) {
            c = kReplacement;
        }
        appendUtf8(out, c);
    }
    return out;
}

std::u16string toWide(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        const char32_t c = decodeUtf8(bytes, at);
        if (c < 0x10000) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
    }
    return out;
}

}  // namespace platform

using platform::CallSite;

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideUnits, LPSTR bytes, int byteCapacity,
                        LPCCH defaultChar, LPBOOL usedDefaultChar) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (codePage != CP_UTF8 || flags != 0 || defaultChar != nullptr || usedDefaultChar != nullptr || wide == nullptr ||
        wideUnits == 0 || wideUnits < -1 || byteCapacity < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    // With a length of -1 the terminator is part of the text.
    const std::u16string_view text = wideUnits == -1
                                         ? std::u16string_view(wide, std::char_traits<char16_t>::length(wide) + 1)
                                         : std::u16string_view(wide, static_cast<std::size_t>(wideUnits));
    const std::string converted = platform::toUtf8(text);
    if (byteCapacity == 0) return static_cast<int>(converted.size());
    if (converted.size() > static_cast<std::size_t>(byteCapacity)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::memcpy(bytes, converted.data(), converted.size());
    return static_cast<int>(converted.size());
}
