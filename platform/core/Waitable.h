// An object that a thread can wait for through a handle.
#pragma once

#include <memory>

#include "core/HandleTable.h"

namespace platform {

struct Waitable : Object {
    // Read and write it only under waiting::lock().
    bool signalled = false;
};

struct Event : Waitable {};

}  // namespace platform
