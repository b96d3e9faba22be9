#include <windows.h>

#include "support/Files.h"

std::filesystem::path hostPath(const WideString& path) {
    return path;
}

WideString productPath(const std::filesystem::path& path) {
    return path.wstring();
}

bool isWine() {
    return GetProcAddress(GetModuleHandleW(TEXT("ntdll.dll")), "wine_get_version") != nullptr;
}
