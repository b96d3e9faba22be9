// A folder of a test's own, seen with the eyes of the platform and with those of the C++ library.
#pragma once

#include <filesystem>
#include <string>

#include "common/WideText.h"

// Where the C++ library finds what the product knows by this path.
std::filesystem::path hostPath(const WideString& path);
// The other way.
WideString productPath(const std::filesystem::path& path);

// Whether Wine takes the place of Windows.
bool isWine();

std::string readFile(const WideString& path);
std::string contentOf(const std::filesystem::path& hostFile);
void writeFile(const WideString& path, const std::string& bytes);
bool exists(const WideString& path);
// All files below a folder, one after the other.
std::string readAllFiles(const WideString& folder);

// 0 behind a call that has succeeded, else the last error.
template <typename Result>
long errorAfter(const Result& result) {
    return result ? 0 : static_cast<long>(GetLastError());
}

// Made empty; removed with all it holds at the end of the scope.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const WideString& path() const { return path_; }
    // A name in the folder, with "\" between its parts.
    WideString operator/(WideView name) const { return path_ + TEXT("\\") + WideString(name); }

  private:
    std::filesystem::path host_;
    WideString path_;
};

// Gives a variable of the process's environment a value for the length of a scope; null removes it.
class EnvironmentScope {
  public:
    EnvironmentScope(const WCHAR* name, const WCHAR* value);
    ~EnvironmentScope();
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

  private:
    WideString name_;
    WideString before_;
    bool wasSet_;
};
