#include "applet/StartupEntry.h"

#include <gtest/gtest.h>

#include "common/Handles.h"
#include "common/Identity.h"

using namespace AppletNotes;

namespace {

constexpr const WCHAR* kValue = TEXT("OmbrelAppletNotes");

// Every case has its own key.
class StartupEntry : public testing::Test {
  protected:
    StartupEntry() {
        EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (TEXT("Software\\Vellumd tests\\") + newGuidText()).c_str(), 0,
                                  nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, key.put(), nullptr),
                  ERROR_SUCCESS);
    }
    bool isThere() const {
        return RegQueryValueExW(key.get(), kValue, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    const WideString expected = TEXT("\"C:\\x\\Vellumd.exe\" --applet-recover");
    RegistryKey key;
};

}  // namespace

TEST_F(StartupEntry, removesOnlyItsOwnValue) {
    const std::size_t whole = (expected.size() + 1) * sizeof(WCHAR);
    const WideString longest(260, TEXT('x'));
    WideString otherCase = expected;
    otherCase[1] = TEXT('c');
    const std::tuple<const char*, WideString, DWORD, std::size_t, DWORD> rows[] = {
        {"ours", expected, REG_SZ, whole, 0},
        {"other capitals", otherCase, REG_SZ, whole, ERROR_INVALID_DATA},
        {"something behind it", expected + TEXT(" "), REG_SZ, whole + 2, ERROR_INVALID_DATA},
        {"another type", expected, REG_EXPAND_SZ, whole, ERROR_INVALID_DATA},
        {"without its zero", expected + TEXT("x"), REG_SZ, whole - 2, ERROR_INVALID_DATA},
        {"an odd size", expected, REG_SZ, whole - 1, ERROR_INVALID_DATA},
        {"empty", expected, REG_SZ, 0, ERROR_INVALID_DATA},
        {"longest that is looked at", longest.substr(0, 259), REG_SZ, 520, ERROR_INVALID_DATA},
        {"longer", longest, REG_SZ, 522, ERROR_MORE_DATA}};
    for (const auto& [what, text, type, bytes, result] : rows) {
        RegSetValueExW(key.get(), kValue, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                       static_cast<DWORD>(bytes));
        EXPECT_EQ(removeRunValue(key.get(), expected), result) << what;
        EXPECT_EQ(isThere(), result != 0) << what;
    }
}

TEST_F(StartupEntry, succeedsIfTheValueIsMissing) {
    EXPECT_EQ(removeRunValue(key.get(), expected), 0U);
}

TEST_F(StartupEntry, unstagedProgramRemovesNothing) {
    EXPECT_EQ(removeStartupEntry(TEXT("C:\\store")), DWORD{ERROR_ACCESS_DENIED});
}
