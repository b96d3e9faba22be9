// Owner and DACL of files and folders, which Linux keeps as owner and mode bits: the bits of the owner are an
// allow-entry for him, those of the group one for Administrators, those of others one for Everyone. The three bits
// above tell what these cannot: 01000 that the list is protected, so that the folder above hands nothing on to it;
// 02000 that an entry in front denies the owner what his own allows; 04000 that Administrators are the owner, while the
// entries stay the user's. 07777 is no list at all.
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

// For a new file or folder at that path. Empty where none is asked for. False, with the last error set, for a
// descriptor that is malformed or that owner and mode bits cannot hold.
bool readSecurity(const SECURITY_ATTRIBUTES* wanted, const std::string& native, bool isFolder,
                  std::optional<NewSecurity>& security);
// False, with the last error set, when the new file cannot be given to its owner.
bool applySecurity(int descriptor, const NewSecurity& security);
// What a file or folder inherits from the folder it is made in; the umask takes its part of it.
mode_t inheritedMode(const std::string& native, bool isFolder);

}  // namespace platform
