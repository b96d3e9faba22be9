// Between the paths of Windows and those of Linux.
#pragma once

#include <windef.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "core/Error.h"

namespace platform {

// Where a Windows path lies here. Drive C: is drive_c in the machine folder, Z: is the Linux root; a path without
// a drive starts at the working directory. Names are found whatever their case. False, with the last error set,
// for a path that Windows would refuse.
bool nativePath(LPCWSTR path, std::string& native);
// The other way; a path inside drive_c is on C:, any other on Z:.
std::u16string windowsPath(const std::string& native);
// A Windows path on drive C: of the machine whose folder is given.
std::filesystem::path onDrive(const std::filesystem::path& machineFolder, std::string_view path);

// Refuses for errno, which a call on `native` left.
Refused setFileError(int error, const std::string& native);

}  // namespace platform
