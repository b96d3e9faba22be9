// An open file, or one of the standard streams.
#pragma once

#include <string>
#include <utility>

#include "core/Descriptor.h"
#include "core/HandleTable.h"

namespace platform {

// Whatever CreateFileW opened: a file, a folder, a symbolic link.
struct OpenItem : Object {
    OpenItem(Descriptor opened, DWORD accessRights) : descriptor(std::move(opened)), access(accessRights) {}

    Descriptor descriptor;
    DWORD access;  // as granted, with the generic rights spelled out
};

struct FileObject : OpenItem {
    using OpenItem::OpenItem;
    ~FileObject() override;

    bool isDoomed = false;      // loses its name when the handle is closed
    std::string exclusiveName;  // where nobody else may have it open; empty otherwise
};

// A symbolic link that was opened as itself. Share modes do not reach it.
struct LinkObject : OpenItem {
    LinkObject(Descriptor opened, DWORD accessRights, std::string native)
        : OpenItem(std::move(opened), accessRights), path(std::move(native)) {}
    std::string path;
};

// For tests: which files the process opened for itself alone (with a share mode of 0) since the last call, and let go
// of, in this order: "+name" and "-name", separated by blanks. The first call begins the record.
std::string takeExclusiveOpenings();
void noteExclusiveOpening(char sign, const std::string& name);

// Null, with the last error 6 or 5, when it is no handle of an open item or was not opened with that right.
std::shared_ptr<OpenItem> findItem(HANDLE handle, DWORD right);
// Where an open file or folder lies now; empty when it has lost its name.
std::string nativePathOf(int descriptor);

}  // namespace platform
