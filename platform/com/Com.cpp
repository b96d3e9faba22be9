// Apartments, GUIDs and COM memory. Called by the product. Each apartment belongs to the thread that entered it.
#include "com/Com.h"

#include <objbase.h>
#include <sys/random.h>
#include <winerror.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <optional>

#include "core/Allocations.h"
#include "core/Counts.h"
#include "core/Gate.h"

using namespace platform;

namespace {

struct Apartment {
    DWORD model = 0;
    std::size_t entered = 0;
};
thread_local Apartment apartment;

std::mutex guidLock;
std::optional<GUID> nextGuid;

bool takeNextGuid(GUID& guid) {
    std::lock_guard hold(guidLock);
    if (!nextGuid) return false;
    guid = *nextGuid;
    nextGuid.reset();
    return true;
}

}  // namespace

void platform::setNextGuid(const GUID& guid) {
    std::lock_guard hold(guidLock);
    nextGuid = guid;
}

bool platform::isInApartment() {
    return apartment.entered > 0;
}

HRESULT CoInitializeEx(LPVOID, DWORD model) {
    static constinit CallSite site{__func__};
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    const DWORD wanted = model & COINIT_APARTMENTTHREADED;
    if (apartment.entered > 0 && apartment.model != wanted) return RPC_E_CHANGED_MODE;
    apartment.model = wanted;
    countOpened(Open::Apartments);
    return apartment.entered++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    static constinit CallSite site{__func__};
    site.pass();
    if (apartment.entered == 0) return;
    --apartment.entered;
    countClosed(Open::Apartments);
}

HRESULT CoCreateGuid(GUID* guid) {
    static constinit CallSite site{__func__};
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (guid == nullptr) return E_INVALIDARG;
    if (takeNextGuid(*guid)) return S_OK;
    if (getrandom(guid, sizeof *guid, 0) != sizeof *guid) return E_FAIL;
    guid->Data3 = static_cast<USHORT>((guid->Data3 & 0x0fff) | 0x4000);  // version 4: random
    guid->Data4[0] = static_cast<BYTE>((guid->Data4[0] & 0x3f) | 0x80);
    return S_OK;
}

int StringFromGUID2(REFGUID guid, LPOLESTR text, int capacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    char plain[39];
    const BYTE* const tail = guid.Data4;
    const int length =
        std::snprintf(plain, sizeof plain, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
                      guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
    if (capacity <= length) return 0;
    std::copy_n(plain, length + 1, text);
    return length + 1;
}

void CoTaskMemFree(LPVOID memory) {
    static constinit CallSite site{__func__};
    site.pass();
    release(memory);
}
