#include "support/Files.h"

#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

std::string readFile(const WideString& path) {
    return contentOf(hostPath(path));
}

std::string contentOf(const fs::path& hostFile) {
    std::ifstream file(hostFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const WideString& path, const std::string& bytes) {
    std::ofstream file(hostPath(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool exists(const WideString& path) {
    return fs::exists(hostPath(path));
}

TempFolder::TempFolder() {
    std::random_device random;
    host_ = fs::temp_directory_path() / ("vellum-test-" + std::to_string(random()));
    fs::create_directories(host_);
    path_ = productPath(host_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(host_, ignored);
}

EnvironmentScope::EnvironmentScope(const WCHAR* name, const WCHAR* value) : name_(name) {
    WCHAR buffer[4096];
    const DWORD length = GetEnvironmentVariableW(name, buffer, 4096);
    wasSet_ = length > 0;
    before_.assign(buffer, length);
    SetEnvironmentVariableW(name, value);
}

EnvironmentScope::~EnvironmentScope() {
    SetEnvironmentVariableW(name_.c_str(), wasSet_ ? before_.c_str() : nullptr);
}

std::string readAllFiles(const WideString& folder) {
    std::string text;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(hostPath(folder), error))
        if (entry.is_regular_file()) text += readFile(productPath(entry.path()));
    return text;
}
