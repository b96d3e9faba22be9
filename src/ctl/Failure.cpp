#include "ctl/Failure.h"

#include "notes/Text.h"

namespace ctl {
namespace {

struct Reason {
    DWORD error;
    const char* text;
};

// The errors that a person can do something about.
constexpr Reason kReasons[] = {
    {ERROR_FILE_NOT_FOUND, "not found"},
    {ERROR_PATH_NOT_FOUND, "not found"},
    {ERROR_ACCESS_DENIED, "access denied"},
    {ERROR_SHARING_VIOLATION, "another program uses it"},
    {ERROR_HANDLE_DISK_FULL, "the disk is full"},
    {ERROR_DISK_FULL, "the disk is full"},
    {ERROR_INVALID_NAME, "no file can have this name"},
    {ERROR_FILENAME_EXCED_RANGE, "the path is too long"},
    {ERROR_FILE_TOO_LARGE, "the file is too large"},
};

}  // namespace

Failure systemFailure(const std::string& what, DWORD error) {
    const std::string number = "Windows error " + std::to_string(error);
    for (const Reason& reason : kReasons)
        if (reason.error == error) return {kFailed, what + ": " + reason.text + " (" + number + ")"};
    return {kFailed, what + ": " + number};
}

Failure lastFailure(const char* what, const WideString& path) {
    const DWORD error = GetLastError();
    return systemFailure(path.empty() ? what : what + (" " + wideToUtf8(path)), error);
}

}  // namespace ctl
