// Path arithmetic on text; no system call but CompareStringOrdinal. Any thread.
#include "common/Paths.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr WideView kSeparators = TEXT("\\/");

bool isSeparator(WCHAR unit) {
    return kSeparators.find(unit) != WideView::npos;
}

// ASCII only, like towlower in the C locale.
WCHAR toLower(WCHAR unit) {
    return unit >= TEXT('A') && unit <= TEXT('Z') ? static_cast<WCHAR>(unit - TEXT('A') + TEXT('a')) : unit;
}

// Windows opens the device for such a name even if an extension follows, or blanks before the extension.
bool isDeviceName(WideView name) {
    constexpr WideView kDevices[] = {TEXT("AUX"),     TEXT("CON"), TEXT("CONIN$"),
                                     TEXT("CONOUT$"), TEXT("NUL"), TEXT("PRN")};
    constexpr WideView kPorts[] = {TEXT("COM"), TEXT("LPT")};  // followed by a digit; superscript 1 to 3 count
    name = name.substr(0, name.find(TEXT('.')));
    name = name.substr(0, name.find_last_not_of(TEXT(' ')) + 1);
    const auto isPort = [name](WideView port) {
        return name.size() == 4 && equalsIgnoreCase(name.substr(0, 3), port) &&
               WideView(TEXT("123456789\u00B9\u00B2\u00B3")).find(name[3]) != WideView::npos;
    };
    return std::any_of(std::begin(kDevices), std::end(kDevices),
                       [name](WideView device) { return equalsIgnoreCase(name, device); }) ||
           std::any_of(std::begin(kPorts), std::end(kPorts), isPort);
}

}  // namespace

WideString joinPath(WideView left, WideView right) {
    if (left.empty()) return WideString(right);
    if (right.empty()) return WideString(left);
    WideString joined(left);
    if (!isSeparator(left.back())) joined += TEXT('\\');
    return joined.append(right);
}

WideString parentPath(WideView path) {
    const std::size_t separator = path.find_last_of(kSeparators);
    if (separator == WideView::npos) return WideString();
    const bool isDriveRoot = separator == 2 && path[1] == TEXT(':');
    return WideString(path.substr(0, isDriveRoot ? 3 : separator));
}

WideString leafName(WideView path) {
    const std::size_t separator = path.find_last_of(kSeparators);
    return WideString(separator == WideView::npos ? path : path.substr(separator + 1));
}

WideString lowerExtension(WideView path) {
    const WideString leaf = leafName(path);
    const std::size_t dot = leaf.rfind(TEXT('.'));
    if (dot == WideString::npos || dot == 0) return WideString();
    WideString extension = leaf.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(), toLower);
    return extension;
}

bool isPlainStem(WideView stem) {
    const auto cannotBeNamed = [](WCHAR unit) { return unit < 0x20 || kNotInNames.find(unit) != WideView::npos; };
    if (stem == TEXT(".") || stem == TEXT("..") || isDeviceName(stem)) return false;
    return std::none_of(stem.begin(), stem.end(), cannotBeNamed);
}
