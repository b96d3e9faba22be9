#include "common/AutoStart.h"

#include <gtest/gtest.h>

#include "common/Handles.h"
#include "support/Text.h"

namespace {

constexpr const WCHAR* kRun = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");

// The value's type and text including the terminator, or the error.
std::string stored() {
    RegistryKey key;
    BYTE bytes[1024];
    DWORD type = 0, size = sizeof bytes;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, kRun, 0, KEY_QUERY_VALUE, key.put());
    if (status == ERROR_SUCCESS) status = RegQueryValueExW(key.get(), TEXT("vellumd"), nullptr, &type, bytes, &size);
    if (status != ERROR_SUCCESS) return "error " + std::to_string(status);
    return std::to_string(type) + utf8(WideString(reinterpret_cast<const WCHAR*>(bytes), size / sizeof(WCHAR)));
}

void store(DWORD type, const WideString& text) {
    RegistryKey key;
    RegCreateKeyExW(HKEY_CURRENT_USER, kRun, 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr);
    RegSetValueExW(key.get(), TEXT("Vellumd"), 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
}

}  // namespace

// A single case, since all processes of a user share the value.
TEST(AutoStart, writesFindsAndRemovesTheValueAndAcceptsTextOnly) {
    EXPECT_TRUE(clearAutoStart());
    EXPECT_FALSE(isAutoStartSet());
    EXPECT_TRUE(clearAutoStart()) << "nothing to remove is as good";

    const WideString command = TEXT("\"C:\\a b\\Vellumd.exe\" --folder \"C:\\n\u00F6tes\"");
    EXPECT_TRUE(setAutoStart(TEXT("an older and longer text, which is replaced as a whole by the next")));
    EXPECT_TRUE(setAutoStart(command));
    EXPECT_TRUE(isAutoStartSet());
    EXPECT_EQ(stored(), "1" + utf8(command + WCHAR(0)));

    EXPECT_TRUE(clearAutoStart());
    EXPECT_FALSE(isAutoStartSet());
    EXPECT_EQ(stored(), "error 2");

    store(REG_EXPAND_SZ, TEXT("%ProgramFiles%\\Vellumd.exe"));
    EXPECT_TRUE(isAutoStartSet());
    store(REG_BINARY, TEXT("x"));
    EXPECT_FALSE(isAutoStartSet());
    clearAutoStart();
}
