#include "common/AutoStart.h"

#include "common/Handles.h"

namespace {

constexpr const WCHAR* kValueName = TEXT("Vellumd");

}  // namespace

bool setAutoStart(const WideString& command) {
    RegistryKey key;
    LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, kRunKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                                     nullptr, key.put(), nullptr);
    if (status == ERROR_SUCCESS) {
        const DWORD byteCount = static_cast<DWORD>((command.size() + 1) * sizeof(WCHAR));
        status =
            RegSetValueExW(key.get(), kValueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(command.c_str()), byteCount);
    }
    SetLastError(static_cast<DWORD>(status));
    return status == ERROR_SUCCESS;
}

bool clearAutoStart() {
    RegistryKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, kRunKey, 0, KEY_SET_VALUE, key.put()) == ERROR_SUCCESS)
        RegDeleteValueW(key.get(), kValueName);
    return true;
}

bool isAutoStartSet() {
    RegistryKey key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, kRunKey, 0, KEY_QUERY_VALUE, key.put()) != ERROR_SUCCESS) return false;
    DWORD type = REG_NONE;
    if (RegQueryValueExW(key.get(), kValueName, nullptr, &type, nullptr, nullptr) != ERROR_SUCCESS) return false;
    return type == REG_SZ || type == REG_EXPAND_SZ;
}
