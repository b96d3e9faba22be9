// Deletes and renames files and folders.
#pragma once

#include <string>

namespace platform {

struct OpenItem;

// These functions return false, with the last error set, if Windows would refuse.
bool removeFile(const std::string& native);
// Source and target may be folders. A folder cannot replace anything and cannot be replaced.
bool moveItem(const std::string& source, const std::string& target, bool replaces);
// Renames an open file or folder. Its current path is looked up. Does not check the share modes: an item opened with
// DELETE can only be open elsewhere with FILE_SHARE_DELETE.
bool renameItem(const OpenItem& item, const std::string& target, bool replaces);

}  // namespace platform
