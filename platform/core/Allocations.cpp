// Counted memory blocks, and LocalFree. Used on any thread by the functions that return memory to the caller.
#include "core/Allocations.h"

#include <winbase.h>

#include <cstdlib>
#include <new>

#include "core/Counts.h"
#include "core/Gate.h"

void* platform::allocate(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    countOpened(Open::Allocations);
    return memory;
}

void platform::release(void* memory) {
    if (memory == nullptr) return;
    countClosed(Open::Allocations);
    std::free(memory);
}

HLOCAL LocalFree(HLOCAL memory) {
    static constinit platform::CallSite site{__func__};
    site.pass();
    platform::release(memory);
    return nullptr;
}
