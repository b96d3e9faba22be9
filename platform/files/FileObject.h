// An open file, or one of the standard streams.
#pragma once

#include <string>
#include <utility>

#include "core/Descriptor.h"
#include "core/HandleTable.h"

namespace platform {

// Anything that CreateFileW opened: a file, a folder or a symbolic link.
struct OpenItem : Object {
    OpenItem(Descriptor opened, DWORD accessRights) : descriptor(std::move(opened)), access(accessRights) {}

    Descriptor descriptor;
    DWORD access;  // as granted; generic rights are mapped to specific ones
};

struct FileObject : OpenItem {
    using OpenItem::OpenItem;
    ~FileObject() override;

    bool isDoomed = false;      // deleted when the handle is closed
    std::string exclusiveName;  // the file name if the share mode is 0; otherwise empty
};

// A symbolic link opened with FILE_FLAG_OPEN_REPARSE_POINT. It has no share mode.
struct LinkObject : OpenItem {
    LinkObject(Descriptor opened, DWORD accessRights, std::string native)
        : OpenItem(std::move(opened), accessRights), path(std::move(native)) {}
    std::string path;
};

// For tests: lists the files that the process opened with share mode 0 ("+name") and closed ("-name") since the last
// call, in order, separated by spaces. The first call starts the recording.
std::string takeExclusiveOpenings();
void noteExclusiveOpening(char sign, const std::string& name);

// Null, with error 6 if the handle is not an open item, or error 5 if it was opened without that right.
std::shared_ptr<OpenItem> findItem(HANDLE handle, DWORD right);
// The current path of an open file or folder; empty if it was deleted.
std::string nativePathOf(int descriptor);

}  // namespace platform
