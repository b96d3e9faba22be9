// An open folder.
#pragma once

#include <memory>
#include <string>

#include "files/FileObject.h"

namespace platform {

struct ChangeQueue;

struct Directory : OpenItem {
    Directory(Descriptor opened, DWORD accessRights, std::string native)
        : OpenItem(std::move(opened), accessRights), path(std::move(native)) {}
    ~Directory() override;

    std::string path;                      // at the time of opening
    std::shared_ptr<ChangeQueue> changes;  // created by the first read; set under waiting::lock()
};

}  // namespace platform
