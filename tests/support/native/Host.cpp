#include "machine/NativePath.h"
#include "support/Files.h"
#include "testing/Machine.h"

std::filesystem::path hostPath(const WideString& path) {
    std::string native;
    return platform::nativePath(path.c_str(), native) ? native : std::string();
}

WideString productPath(const std::filesystem::path& path) {
    return platform::windowsPath(path.string());
}

bool isWine() {
    return false;
}
