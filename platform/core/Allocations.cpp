#include "core/Allocations.h"

#include <winbase.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "core/Gate.h"
#include "testing/Faults.h"

namespace platform {
namespace {
std::atomic<std::size_t> open{0};
}

void* allocate(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (memory == nullptr) throw std::bad_alloc();
    ++open;
    return memory;
}

void release(void* memory) {
    if (memory == nullptr) return;
    --open;
    std::free(memory);
}

std::size_t faults::openAllocations() {
    return open;
}

}  // namespace platform

HLOCAL LocalFree(HLOCAL memory) {
    static constinit platform::CallSite site{__func__};
    site.pass();
    platform::release(memory);
    return nullptr;
}
