// UTF-8 and UTF-16. All layers call it, and the product through MultiByteToWideChar and WideCharToMultiByte, on any
// thread. Stateless.
#include "core/Encoding.h"

#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winnls.h>

#include <algorithm>
#include <cstring>

#include "core/Error.h"
#include "core/Gate.h"

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

constexpr char32_t kMalformed = 0xFFFFFFFF;

// Whether `second` may follow the lead byte. Rejects overlong forms, surrogates, and values above U+10FFFF.
bool mayFollow(unsigned lead, unsigned second) {
    const unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= least && second <= most;
}

// Decodes the character at `at` and moves `at` behind it. A malformed sequence ends before the first byte that cannot
// continue it, or at the end of the text. Like Windows, returns one U+FFFD for each longest valid prefix.
char32_t decodeUtf8(std::string_view bytes, std::size_t& at) {
    const unsigned lead = static_cast<unsigned char>(bytes[at++]);
    if (lead < 0x80) return lead;
    const unsigned tails = lead < 0xC2 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : 0;
    if (tails == 0) return kMalformed;
    char32_t c = lead & (0x3FU >> tails);
    for (unsigned i = 0; i < tails; ++i) {
        const unsigned tail = at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
        if (!mayFollow(i == 0 ? lead : 0, tail)) return kMalformed;
        c = (c << 6) | (tail & 0x3FU);
        ++at;
    }
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
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    for (std::size_t at = 0; at < bytes.size();) {
        const std::string_view rest = bytes.substr(at);
        const auto special = std::find_if_not(rest.begin(), rest.end(), isAscii);
        out.append(rest.begin(), special);
        at += static_cast<std::size_t>(special - rest.begin());
        if (at == bytes.size()) break;
        char32_t c = decodeUtf8(bytes, at);
        if (c == kMalformed) c = kReplacement;
        if (c < 0x10000) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
    }
    return out;
}

bool isUtf8(std::string_view bytes) {
    for (std::size_t at = 0; at < bytes.size();)
        if (decodeUtf8(bytes, at) == kMalformed) return false;
    return true;
}

}  // namespace platform

using namespace platform;

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH bytes, int byteCount, LPWSTR wide, int wideCapacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (codePage != CP_UTF8 || (flags & ~DWORD{MB_ERR_INVALID_CHARS}) != 0 || bytes == nullptr || byteCount < 1 ||
        wideCapacity < 0)
        return refuse(ERROR_INVALID_PARAMETER);
    const std::string_view text(bytes, static_cast<std::size_t>(byteCount));
    if ((flags & MB_ERR_INVALID_CHARS) != 0 && !isUtf8(text)) return refuse(ERROR_NO_UNICODE_TRANSLATION);
    const std::u16string converted = toWide(text);
    if (wideCapacity == 0) return static_cast<int>(converted.size());
    if (converted.size() > static_cast<std::size_t>(wideCapacity)) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(wide, converted.data(), converted.size() * sizeof(WCHAR));
    return static_cast<int>(converted.size());
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideUnits, LPSTR bytes, int byteCapacity,
                        LPCCH defaultChar, LPBOOL usedDefaultChar) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    if (codePage != CP_UTF8 || flags != 0 || defaultChar != nullptr || usedDefaultChar != nullptr || wide == nullptr ||
        wideUnits == 0 || wideUnits < -1 || byteCapacity < 0)
        return refuse(ERROR_INVALID_PARAMETER);
    // With a length of -1, the terminator counts as part of the text.
    const std::u16string_view text = wideUnits == -1
                                         ? std::u16string_view(wide, std::char_traits<char16_t>::length(wide) + 1)
                                         : std::u16string_view(wide, static_cast<std::size_t>(wideUnits));
    const std::string converted = toUtf8(text);
    if (byteCapacity == 0) return static_cast<int>(converted.size());
    if (converted.size() > static_cast<std::size_t>(byteCapacity)) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(bytes, converted.data(), converted.size());
    return static_cast<int>(converted.size());
}
