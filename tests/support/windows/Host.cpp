#include "support/Files.h"

std::filesystem::path hostPath(const WideString& path) {
    return path;
}

WideString productPath(const std::filesystem::path& path) {
    return path.wstring();
}
