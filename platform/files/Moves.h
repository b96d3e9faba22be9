// Files and folders that lose their names or get others.
#pragma once

#include <string>

namespace platform {

struct OpenItem;

// Each is false, with the last error set, when Windows would refuse.
bool removeFile(const std::string& native);
// Either of them may be a folder; a folder does not replace and is not replaced.
bool moveItem(const std::string& source, const std::string& target, bool replaces);
// Gives an open file or folder another name, wherever it lies now. Others that have it open share that, or it would not
// have been opened with DELETE.
bool renameItem(const OpenItem& item, const std::string& target, bool replaces);

}  // namespace platform
