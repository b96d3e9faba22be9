// The known folders of a user.
#include <shlobj.h>
#include <windows.h>

#include <cstring>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "security/Token.h"

using namespace platform;

namespace {

// Empty if the user has no profile.
std::u16string localAppData(const std::string& name) {
    const User* user = findUser(name);
    if (user == nullptr || user->profile.empty()) return {};
    return toWide(user->profile + "\\AppData\\Local");
}

}  // namespace

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE handle, DWORD, LPWSTR path) {
    static constinit CallSite site{__func__};
    *path = 0;
    if (const HRESULT refused = site.hresult(); FAILED(refused)) return refused;
    if (folder != CSIDL_LOCAL_APPDATA) return E_INVALIDARG;
    const auto token = handle == nullptr ? processTokenState() : findToken(handle, TOKEN_QUERY | TOKEN_IMPERSONATE);
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
    const std::u16string text = localAppData(processToken().user);
    if (text.empty()) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    *path = static_cast<PWSTR>(allocate(bytes));
    std::memcpy(*path, text.c_str(), bytes);
    return S_OK;
}
