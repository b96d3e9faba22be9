#include "applet/StartupEntry.h"

#include <gtest/gtest.h>

#include "support/Text.h"

using namespace AppletNotes;

namespace {

constexpr const WCHAR* kTestKey = TEXT("Software\\Vellumd tests");

}  // namespace

TEST(StartupEntry, valueGoesOnlyWhenItIsOurs) {
    const WideString expected = TEXT("\"C:\\x\\Vellumd.exe\" --applet-recover");
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kTestKey, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr,
                              &key, nullptr),
              ERROR_SUCCESS);
    const auto set = [&](const WideString& text, DWORD type, std::size_t bytes) {
        RegSetValueExW(key, TEXT("OmbrelAppletNotes"), 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(bytes));
    };
    const auto isThere = [&] {
        return RegQueryValueExW(key, TEXT("OmbrelAppletNotes"), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    };
    EXPECT_EQ(removeRunValue(key, expected), 0U) << "no value";
    const std::size_t whole = (expected.size() + 1) * sizeof(WCHAR);
    WideString otherCase = expected;
    otherCase[1] = TEXT('c');
    const WideString longest(260, TEXT('x'));
    struct Row {
        const char* what;
        WideString text;
        DWORD type;
        std::size_t bytes;
        DWORD result;
    };
    const Row rows[] = {
        {"ours", expected, REG_SZ, whole, 0},
        {"other capitals", otherCase, REG_SZ, whole, 13},
        {"something behind it", expected + TEXT(" "), REG_SZ, whole + 2, 13},
        {"another type", expected, REG_EXPAND_SZ, whole, 13},
        {"without its zero", expected + TEXT("x"), REG_SZ, whole - 2, 13},
        {"an odd size", expected, REG_SZ, whole - 1, 13},
        {"empty", expected, REG_SZ, 0, 13},
        {"longest that is looked at", longest.substr(0, 259), REG_SZ, 520, 13},
        {"longer", longest, REG_SZ, 522, 234},
    };
    for (const Row& row : rows) {
        set(row.text, row.type, row.bytes);
        EXPECT_EQ(removeRunValue(key, expected), row.result) << row.what;
        EXPECT_EQ(isThere(), row.result != 0) << row.what;
    }
    RegDeleteValueW(key, TEXT("OmbrelAppletNotes"));
    RegCloseKey(key);
    EXPECT_EQ(removeStartupEntry(TEXT("C:\\store")), 5U) << "this is not the staged program";
}
