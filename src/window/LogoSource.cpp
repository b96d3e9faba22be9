// How a `logo` value is read; no image call. Logo.cpp calls it.
#include "window/LogoSource.h"

#include "common/Paths.h"

namespace {

constexpr std::size_t kTooLongForAFile = 260;

// The base64 value of a character; -1 for one outside the alphabet.
int valueOf(WCHAR unit) {
    if (unit >= TEXT('A') && unit <= TEXT('Z')) return unit - TEXT('A');
    if (unit >= TEXT('a') && unit <= TEXT('z')) return unit - TEXT('a') + 26;
    if (unit >= TEXT('0') && unit <= TEXT('9')) return unit - TEXT('0') + 52;
    if (unit == TEXT('+')) return 62;
    return unit == TEXT('/') ? 63 : -1;
}

}  // namespace

std::vector<WideString> logoCandidates(const WideString& folder, const WideString& logo) {
    std::vector<WideString> paths;
    if (folder.empty()) return paths;
    if (logo.empty()) {
        for (const WCHAR* extension : {TEXT(".png"), TEXT(".jpg"), TEXT(".jpeg"), TEXT(".bmp"), TEXT(".gif")})
            paths.push_back(joinPath(folder, WideString(TEXT("default")) + extension));
    } else if (logo.size() < kTooLongForAFile && logo.find_first_of(TEXT("\n ")) == WideString::npos) {
        paths.push_back(joinPath(folder, logo));
    }
    return paths;
}

WideString logoBase64(const WideString& logo) {
    const std::size_t comma = logo.find(TEXT(','));
    const bool hasHead = comma != WideString::npos && logo.starts_with(TEXT("data:"));
    WideString text;
    for (const WCHAR unit : WideView(logo).substr(hasHead ? comma + 1 : 0))
        if (unit != TEXT('\r') && unit != TEXT('\n') && unit != TEXT(' ') && unit != TEXT('\t')) text += unit;
    return text;
}

std::vector<BYTE> decodeBase64(WideView text) {
    std::vector<BYTE> bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    unsigned accumulator = 0;
    int bits = 0;
    for (const WCHAR unit : text) {
        if (unit == TEXT('=') || unit == TEXT('-')) break;
        const int value = valueOf(unit);
        if (value < 0) return {};
        accumulator = accumulator << 6 | static_cast<unsigned>(value);
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes.push_back(static_cast<BYTE>(accumulator >> bits));
    }
    return bytes;
}
