// GlobalAlloc memory, and streams over it.
#include <objbase.h>
#include <winbase.h>
#include <winerror.h>

#include <atomic>
#include <mutex>
#include <unordered_map>

#include "com/Com.h"
#include "core/Counts.h"
#include "core/Gate.h"

namespace platform {
namespace {

// Movable memory blocks. A handle is an opaque number, not an address.
struct Blocks {
    std::mutex lock;
    std::unordered_map<HGLOBAL, std::vector<unsigned char>> blocks;
    ULONG_PTR next = 0x70000;
};

Blocks& blocks() {
    static Blocks& instance = *new Blocks;
    return instance;
}

class MemoryStream final : public IStream {
  public:
    MemoryStream(HGLOBAL memory, bool owns) : memory_(memory), owns_(owns) {}
    HRESULT QueryInterface(const GUID&, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    HGLOBAL memory() const { return memory_; }

  private:
    ~MemoryStream() {
        if (owns_) GlobalFree(memory_);
    }
    std::atomic<ULONG> references_{1};
    const HGLOBAL memory_;
    const bool owns_;
};

}  // namespace

std::vector<unsigned char> bytesOf(IStream* stream) {
    std::lock_guard hold(blocks().lock);
    return blocks().blocks.at(static_cast<MemoryStream*>(stream)->memory());
}

}  // namespace platform

using namespace platform;

HGLOBAL GlobalAlloc(UINT, SIZE_T bytes) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    std::lock_guard hold(blocks().lock);
    const HGLOBAL handle = reinterpret_cast<HGLOBAL>(blocks().next += 4);
    blocks().blocks.emplace(handle, std::vector<unsigned char>(bytes));
    countOpened(Open::Memory);
    return handle;
}

LPVOID GlobalLock(HGLOBAL memory) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    std::lock_guard hold(blocks().lock);
    const auto found = blocks().blocks.find(memory);
    return found == blocks().blocks.end() ? nullptr : found->second.data();
}

BOOL GlobalUnlock(HGLOBAL) {
    static constinit CallSite site{__func__};
    site.pass();
    return FALSE;  // false: the lock count is now 0
}

HGLOBAL GlobalFree(HGLOBAL memory) {
    static constinit CallSite site{__func__};
    site.pass();
    std::lock_guard hold(blocks().lock);
    if (blocks().blocks.erase(memory) == 0) return memory;
    countClosed(Open::Memory);
    return nullptr;
}

HRESULT CreateStreamOnHGlobal(HGLOBAL memory, BOOL deleteOnRelease, IStream** stream) {
    static constinit CallSite site{__func__};
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    *stream = new MemoryStream(memory, deleteOnRelease != FALSE);
    return S_OK;
}
