// The owner and DACL of files and folders, stored as Linux owner and mode bits. The owner bits are an allow entry for
// the owner, the group bits one for Administrators, the other bits one for Everyone. The three high bits store the
// rest:
//
// 01000: the list is protected and inherits nothing from the parent folder.
// 02000: an entry in front denies the owner what his own entry allows.
// 04000: Administrators are the owner, but the entries stay the user's.
// 07777: there is no list.
#pragma once

#include <winbase.h>

#include <sys/types.h>

#include <optional>
#include <string>

namespace platform {

// The owner and mode of a new file or folder, taken from a security descriptor.
struct NewSecurity {
    mode_t mode = 0;
    uid_t owner = 0;
};

// Reads the descriptor for a new file or folder at that path. `security` stays empty if no descriptor is given. False,
// with the last error set, if the descriptor is malformed or cannot be stored as owner and mode bits.
bool readSecurity(const SECURITY_ATTRIBUTES* wanted, const std::string& native, bool isFolder,
                  std::optional<NewSecurity>& security);
// False, with the last error set, if the file cannot be given to its owner.
bool applySecurity(int descriptor, const NewSecurity& security);
// The mode bits that a file or folder inherits from its parent folder, before the umask.
mode_t inheritedMode(const std::string& native, bool isFolder);

}  // namespace platform
