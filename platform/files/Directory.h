// An open folder.
#pragma once

#include <memory>
#include <string>

#include "objects/HandleTable.h"

namespace platform {

struct ChangeQueue;

struct Directory : Object {
    explicit Directory(std::string native) : path(std::move(native)) {}
    ~Directory() override;

    std::string path;
    std::shared_ptr<ChangeQueue> changes;  // from the first read on; set under waiting::lock()
};

}  // namespace platform
