#include "common/AutoStart.h"

#include <gtest/gtest.h>

#include "common/Handles.h"
#include "support/Text.h"

namespace {

constexpr const WCHAR* kRun = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");

struct StoredValue {
    LSTATUS status = ERROR_SUCCESS;
    DWORD type = 0;
    WideString units;  // terminator included
};

StoredValue stored() {
    RegistryKey key;
    StoredValue value;
    value.status = RegOpenKeyExW(HKEY_CURRENT_USER, kRun, 0, KEY_QUERY_VALUE, key.put());
    if (value.status != ERROR_SUCCESS) return value;
    BYTE bytes[1024];
    DWORD size = sizeof bytes;
    value.status = RegQueryValueExW(key.get(), TEXT("vellumd"), nullptr, &value.type, bytes, &size);
    if (value.status == ERROR_SUCCESS) value.units.assign(reinterpret_cast<const WCHAR*>(bytes), size / sizeof(WCHAR));
    return value;
}

void store(DWORD type, const WideString& text) {
    RegistryKey key;
    RegCreateKeyExW(HKEY_CURRENT_USER, kRun, 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr);
    RegSetValueExW(key.get(), TEXT("Vellumd"), 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

}  // namespace

// One case alone, since all processes of a user share the value.
TEST(AutoStart, writesFindsAndRemovesTheValueAndCountsTextOnly) {
    EXPECT_TRUE(clearAutoStart());
    EXPECT_FALSE(isAutoStartSet());
    EXPECT_TRUE(clearAutoStart()) << "nothing to remove is as good";

    const WideString command = TEXT("\"C:\\a b\\Vellumd.exe\" --folder \"C:\\n\u00F6tes\"");
    EXPECT_TRUE(setAutoStart(TEXT("an older and longer text, which is replaced as a whole by the next")));
    EXPECT_TRUE(setAutoStart(command));
    EXPECT_TRUE(isAutoStartSet());
    EXPECT_EQ(stored().type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(utf8(stored().units), utf8(command + WCHAR(0)));

    EXPECT_TRUE(clearAutoStart());
    EXPECT_FALSE(isAutoStartSet());
    EXPECT_EQ(stored().status, ERROR_FILE_NOT_FOUND);

    store(REG_EXPAND_SZ, TEXT("%ProgramFiles%\\Vellumd.exe"));
    EXPECT_TRUE(isAutoStartSet());
    store(REG_BINARY, TEXT("x"));
    EXPECT_FALSE(isAutoStartSet());
    clearAutoStart();
}
