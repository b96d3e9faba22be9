// LoadLibraryW, GetProcAddress and InitCommonControlsEx. Called by the product on any thread.
#include "controls/Libraries.h"

#include <commctrl.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string>

#include "controls/TextControl.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"
#include "windows/Monitors.h"

namespace platform {
namespace {

std::atomic<bool> offersDpiOfMonitor{true};
std::atomic<bool> offersDpiOfWindow{true};

struct Library {
    const char16_t* name;
    const char* call = "";
    FARPROC address = nullptr;
    const std::atomic<bool>* offered = nullptr;  // null: it exports nothing
    void (*loaded)() = nullptr;                  // runs when the library is loaded
};

template <typename Call>
FARPROC address(Call* call) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(call));
}

const std::array kLibraries = {
    Library{u"Shcore.dll", "GetDpiForMonitor", address(&getDpiForMonitor), &offersDpiOfMonitor, nullptr},
    Library{u"user32.dll", "GetDpiForWindow", address(&getDpiForWindow), &offersDpiOfWindow, nullptr},
    Library{u"Msftedit.dll", "", nullptr, nullptr, registerRichEdit},
};

HMODULE findLibrary(LPCWSTR name) {
    for (std::size_t i = 0; i < kLibraries.size(); ++i)
        if (equalsOrdinal(kLibraries[i].name, name)) return reinterpret_cast<HMODULE>(0x30000 + i);
    return refuse(ERROR_MOD_NOT_FOUND);
}

const Library* libraryOf(HMODULE module) {
    const std::size_t index = reinterpret_cast<std::size_t>(module) - 0x30000;
    return index < kLibraries.size() ? &kLibraries[index] : nullptr;
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
    const HMODULE module = findLibrary(name);
    if (module != nullptr && libraryOf(module)->loaded != nullptr) libraryOf(module)->loaded();
    return module;
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return name == nullptr ? reinterpret_cast<HMODULE>(0x400000) : findLibrary(name);
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const Library* library = libraryOf(module);
    if (library != nullptr && library->offered != nullptr && *library->offered && std::strcmp(library->call, name) == 0)
        return library->address;
    return refuse(ERROR_PROC_NOT_FOUND);
}

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (controls != nullptr && controls->dwSize == sizeof *controls) return TRUE;
    return refuse(ERROR_INVALID_PARAMETER);
}
