#include "common/Paths.h"

#include <algorithm>

namespace {

constexpr WideView kSeparators = TEXT("\\/");

bool isSeparator(WCHAR unit) {
    return kSeparators.find(unit) != WideView::npos;
}

// The lower-case mapping of the C library in the locale that the program starts in and never leaves.
WCHAR toLower(WCHAR unit) {
    return unit >= TEXT('A') && unit <= TEXT('Z') ? static_cast<WCHAR>(unit - TEXT('A') + TEXT('a')) : unit;
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
