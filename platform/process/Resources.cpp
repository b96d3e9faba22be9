// FindResourceW and the functions that read a resource. Resources register themselves before main(). The product reads
// them later, on any thread.
#include "process/Resources.h"

#include <windows.h>

#include <string_view>
#include <vector>

#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"

namespace platform {
namespace {

std::vector<const NativeResource*>& all() {
    static std::vector<const NativeResource*> resources;
    return resources;
}

const NativeResource* asResource(void* handle) {
    return static_cast<const NativeResource*>(handle);
}

}  // namespace

RegisterResource::RegisterResource(const NativeResource& resource) {
    all().push_back(&resource);
}

}  // namespace platform

using namespace platform;

HRSRC FindResourceW(HMODULE, LPCWSTR name, LPCWSTR type) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    bool typeFound = false;
    for (const NativeResource* resource : all()) {
        if (resource->type != reinterpret_cast<ULONG_PTR>(type)) continue;
        typeFound = true;
        if (equalsOrdinal(resource->name, name)) return reinterpret_cast<HRSRC>(const_cast<NativeResource*>(resource));
    }
    return refuse(typeFound ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
}

DWORD SizeofResource(HMODULE, HRSRC resource) {
    static constinit CallSite site{__func__};
    return site.fails() ? 0 : static_cast<DWORD>(asResource(resource)->size);
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) {
    static constinit CallSite site{__func__};
    return site.fails() ? nullptr : static_cast<HGLOBAL>(resource);
}

LPVOID LockResource(HGLOBAL data) {
    static constinit CallSite site{__func__};
    return site.fails() ? nullptr : const_cast<unsigned char*>(asResource(data)->bytes);
}
