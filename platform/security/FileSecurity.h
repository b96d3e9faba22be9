// Owner and DACL of files and folders, which Linux keeps as owner and mode bits: the bits of the owner are an
// allow-entry for him, those of the group one for Administrators, those of others one for Everyone.
#pragma once

#include <winbase.h>

#include <sys/types.h>

#include <optional>
#include <string>

namespace platform {

// What a security descriptor makes of a new file or folder.
struct NewSecurity {
    mode_t mode = 0;
    uid_t owner = 0;
};

// Empty where none is asked for. False, with the last error set, for a descriptor that is malformed or that owner and
// mode bits cannot hold.
bool readSecurity(const SECURITY_ATTRIBUTES* wanted, bool isFolder, std::optional<NewSecurity>& security);
// False, with the last error set, when the new file cannot be given to its owner.
bool applySecurity(int descriptor, const NewSecurity& security);
// What a file or folder inherits from the folder it is made in; the umask takes its part of it.
mode_t inheritedMode(const std::string& native, bool isFolder);

}  // namespace platform
