#include <commctrl.h>
#include <objbase.h>
#include <shlobj.h>
#include <sys/random.h>
#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "security/Token.h"
#include "tasks/TaskService.h"
#include "testing/Faults.h"

using platform::CallSite;

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

// Empty for a user without folders.
std::u16string localAppData(const std::string& name) {
    const platform::User* user = platform::findUser(name);
    if (user == nullptr || user->profile.empty()) return {};
    return platform::toWide(user->profile + "\\AppData\\Local");
}

}  // namespace

void platform::setNextGuid(const GUID& guid) {
    std::lock_guard hold(guidLock);
    nextGuid = guid;
}

std::size_t platform::faults::openApartments() {
    return apartment.entered;
}

HRESULT CoInitializeEx(LPVOID, DWORD model) {
    static constinit CallSite site{__func__};
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    const DWORD wanted = model & COINIT_APARTMENTTHREADED;
    if (apartment.entered > 0 && apartment.model != wanted) return RPC_E_CHANGED_MODE;
    apartment.model = wanted;
    return apartment.entered++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    static constinit CallSite site{__func__};
    site.pass();
    if (apartment.entered > 0) --apartment.entered;
}

HRESULT CoCreateInstance(REFCLSID id, IUnknown* outer, DWORD, REFIID interfaceId, LPVOID* object) {
    static constinit CallSite site{__func__};
    *object = nullptr;
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (apartment.entered == 0) return CO_E_NOTINITIALIZED;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    if (!platform::isSame(id, CLSID_TaskScheduler)) return REGDB_E_CLASSNOTREG;
    if (!platform::isSame(interfaceId, IID_ITaskService)) return E_NOINTERFACE;
    *object = platform::makeTaskService();
    return S_OK;
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
    platform::release(memory);
}

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE handle, DWORD, LPWSTR path) {
    static constinit CallSite site{__func__};
    *path = 0;
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (folder != CSIDL_LOCAL_APPDATA) return E_INVALIDARG;
    const auto token = handle == nullptr ? platform::processTokenState()
                                         : platform::findToken(handle, TOKEN_QUERY | TOKEN_IMPERSONATE);
    if (token == nullptr) return HRESULT_FROM_WIN32(GetLastError());
    const std::u16string text = localAppData(token->who.user);
    if (text.empty()) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    if (text.size() >= MAX_PATH) return E_INVALIDARG;
    std::memcpy(path, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    return S_OK;
}

HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD, HANDLE, PWSTR* path) {
    static constinit CallSite site{__func__};
    *path = nullptr;
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (std::memcmp(&folder, &FOLDERID_LocalAppData, sizeof folder) != 0) return E_INVALIDARG;
    const std::u16string text = localAppData(platform::processToken().user);
    if (text.empty()) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    *path = static_cast<PWSTR>(platform::allocate(bytes));
    std::memcpy(*path, text.c_str(), bytes);
    return S_OK;
}

BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (controls != nullptr && controls->dwSize == sizeof *controls) return TRUE;
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}
