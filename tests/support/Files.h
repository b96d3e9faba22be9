// Temporary folders and files, with their Windows paths and their paths for the C++ library.
#pragma once

#include <filesystem>
#include <string>

#include "common/WideText.h"

// The path for the C++ library of a file that the product knows by `path`.
std::filesystem::path hostPath(const WideString& path);
// The reverse of hostPath.
WideString productPath(const std::filesystem::path& path);

// Whether this is Wine and not Windows.
bool isWine();

std::string readFile(const WideString& path);
std::string contentOf(const std::filesystem::path& hostFile);
void writeFile(const WideString& path, const std::string& bytes);
bool exists(const WideString& path);
// The contents of all files below a folder, concatenated.
std::string readAllFiles(const WideString& folder);

// 0 if the call has succeeded, otherwise the last error.
template <typename Result>
long errorAfter(const Result& result) {
    return result ? 0 : static_cast<long>(GetLastError());
}

// An empty folder, removed with its content at the end of the scope.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const WideString& path() const { return path_; }
    // The path of an item in the folder.
    WideString operator/(WideView name) const { return path_ + TEXT("\\") + WideString(name); }

  private:
    std::filesystem::path host_;
    WideString path_;
};

// Sets an environment variable of the process until the end of the scope; null removes the variable.
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
