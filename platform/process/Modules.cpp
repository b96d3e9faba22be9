// Libraries that the product looks calls up in while it runs. Each is always there; what it offers can be less.
#include <windows.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string>

#include "Desktop.h"
#include "Gate.h"
#include "process/Modules.h"
#include "text/Ordinal.h"

namespace platform {
namespace {

std::atomic<bool> offersDpiOfMonitor{true};
std::atomic<bool> offersDpiOfWindow{true};

struct Library {
    const char16_t* name;
    const char* call;
    FARPROC address;
    const std::atomic<bool>* offered;
};

template <typename Call>
FARPROC address(Call* call) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(call));
}

const std::array kLibraries = {
    Library{u"Shcore.dll", "GetDpiForMonitor", address(&getDpiForMonitor), &offersDpiOfMonitor},
    Library{u"user32.dll", "GetDpiForWindow", address(&getDpiForWindow), &offersDpiOfWindow},
};

HMODULE findLibrary(LPCWSTR name) {
    for (std::size_t i = 0; i < kLibraries.size(); ++i)
        if (equalsOrdinal(kLibraries[i].name, name)) return reinterpret_cast<HMODULE>(0x30000 + i);
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

}  // namespace

void desktop::offerDpiCalls(bool ofMonitor, bool ofWindow) {
    offersDpiOfMonitor = ofMonitor;
    offersDpiOfWindow = ofWindow;
}

}  // namespace platform

using namespace platform;

HMODULE LoadLibraryW(LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return findLibrary(name);
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return name == nullptr ? reinterpret_cast<HMODULE>(0x400000) : findLibrary(name);
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::size_t index = reinterpret_cast<std::size_t>(module) - 0x30000;
    if (index < kLibraries.size() && *kLibraries[index].offered && std::strcmp(kLibraries[index].call, name) == 0)
        return kLibraries[index].address;
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}
