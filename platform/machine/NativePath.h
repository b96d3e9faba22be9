// Converts between Windows and Linux paths.
#pragma once

#include <windef.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "core/Error.h"

namespace platform {

// The Linux path of a Windows path. Drive C: is drive_c in the machine folder, Z: is the Linux root. A path without a
// drive is relative to the working directory. Names are matched ignoring case. False, with the last error set, if
// Windows would refuse the path.
bool nativePath(LPCWSTR path, std::string& native);
// The reverse: a path inside drive_c is on C:, any other on Z:.
std::u16string windowsPath(const std::string& native);
// A Windows path on drive C: of the given machine folder.
std::filesystem::path onDrive(const std::filesystem::path& machineFolder, std::string_view path);

// Sets the last error for `error`, an errno value that an operation on `native` left.
Refused setFileError(int error, const std::string& native);

}  // namespace platform
