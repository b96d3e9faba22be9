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

    std::string path;                      // when it was opened
    std::shared_ptr<ChangeQueue> changes;  // from the first read on; set under waiting::lock()
};

}  // namespace platform
