// An object that a thread can wait for through a handle.
#pragma once

#include <memory>

#include "core/HandleTable.h"

namespace platform {

struct Waitable : Object {
    // Called under waiting::lock(). Whether a wait may end; a mutex is taken by that.
    virtual bool isReady() { return signalled; }
    // Whether other processes can make it ready: nobody wakes the waiters then, so they look again and again.
    virtual bool isPolled() const { return false; }

    bool signalled = false;  // read and written only under waiting::lock()
};

struct Event : Waitable {};

}  // namespace platform
