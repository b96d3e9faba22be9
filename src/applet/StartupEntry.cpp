// Removes the auto-start value. Called under the lifecycle lock when the store is empty, on the main thread.
#include "applet/StartupEntry.h"

#include <iterator>

#include "applet/QueueName.h"
#include "applet/StoreFiles.h"
#include "common/AutoStart.h"

namespace AppletNotes {
namespace {

constexpr const WCHAR* kValueName = TEXT("OmbrelAppletNotes");
constexpr DWORD kValueBytes = 520;

// ERROR_SUCCESS if `module` is the path of a staged program in this store.
DWORD checkStagedPath(WideView module, const WideString& storeRoot) {
    constexpr std::size_t kHashUnits = 64, kFieldUnits = 16;
    const WideString front = storeRoot + TEXT("\\runtime\\");
    const WideView back = TEXT("\\Vellumd.exe");
    if (module.size() != front.size() + kHashUnits + back.size() || !module.starts_with(front) ||
        !module.ends_with(back))
        return ERROR_ACCESS_DENIED;
    for (std::size_t at = 0; at < kHashUnits; at += kFieldUnits) {
        ULONGLONG value = 0;
        if (!parseHexField(module.substr(front.size() + at, kFieldUnits), value)) return ERROR_INVALID_DATA;
    }
    return ERROR_SUCCESS;
}

DWORD removeFromCurrentUser(const WideString& expected) {
    RegistryKey user, run;
    DWORD result = static_cast<DWORD>(RegOpenCurrentUser(KEY_READ | KEY_WRITE, user.put()));
    if (result != ERROR_SUCCESS) return result;
    result = static_cast<DWORD>(RegOpenKeyExW(user.get(), kRunKey, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, run.put()));
    const auto close = [&](RegistryKey& key) {
        const DWORD closed = static_cast<DWORD>(RegCloseKey(key.release()));
        if (result == ERROR_SUCCESS) result = closed;
    };
    if (result == ERROR_SUCCESS) {
        result = removeRunValue(run.get(), expected);
        close(run);
    } else if (result == ERROR_FILE_NOT_FOUND) {
        result = ERROR_SUCCESS;
    }
    close(user);
    return result;
}

}  // namespace

DWORD removeStartupEntry(const WideString& storeRoot) {
    WideString module;
    DWORD err = ERROR_SUCCESS;
    if (!readOwnPath(module, err)) return err;
    const DWORD refused = checkStagedPath(module, storeRoot);
    if (refused != ERROR_SUCCESS) return refused;
    return removeFromCurrentUser(TEXT("\"") + module + TEXT("\" --applet-recover"));
}

DWORD removeRunValue(HKEY runKey, const WideString& expected) {
    WCHAR text[kValueBytes / sizeof(WCHAR)];
    DWORD type = REG_NONE, bytes = sizeof text;
    DWORD result =
        static_cast<DWORD>(RegQueryValueExW(runKey, kValueName, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes));
    if (result == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (result != ERROR_SUCCESS) return result;
    const std::size_t units = bytes / sizeof(WCHAR);
    const bool isText = type == REG_SZ && units >= 1 && bytes % sizeof(WCHAR) == 0 && text[units - 1] == 0;
    if (!isText || !sameText(WideView(text, units - 1), expected)) return ERROR_INVALID_DATA;
    result = static_cast<DWORD>(RegDeleteValueW(runKey, kValueName));
    return result == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : result;
}

}  // namespace AppletNotes
