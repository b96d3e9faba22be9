#include "notes/Text.h"

#include <gtest/gtest.h>

#include "notes/Cases.h"
#include "support/Text.h"

TEST(Text, malformedBytesBecomeReplacementsAsOnTheSystem) {
    // Each row: bytes, and the UTF-16 text; "?" stands for U+FFFD.
    const struct {
        const char* bytes;
        const WCHAR* text;
    } rows[] = {
        {"abc", TEXT("abc")},
        {"<C3><A9><E2><82><AC><F0><9F><98><80>", TEXT("\u00E9\u20AC\xD83D\xDE00")},
        {"<FF>A", TEXT("?A")},
        {"<80><80>", TEXT("??")},
        {"<C0><80>", TEXT("??")},
        {"<C1><BF>", TEXT("??")},
        {"<C3>A", TEXT("?A")},
        {"<C3>", TEXT("?")},
        {"<C3><C3><A9>", TEXT("?\u00E9")},
        {"<E2><82>A", TEXT("?A")},
        {"<E2><E2><82><AC>", TEXT("?\u20AC")},
        {"<E0><80><80>A", TEXT("??A")},
        {"<ED><A0><80>A", TEXT("??A")},
        {"<ED><A0><BD><ED><B8><80>", TEXT("????")},
        {"<EF><BB><BF>", TEXT("\uFEFF")},
        {"<EF><BF><BF>", TEXT("\uFFFF")},
        {"<F0><9F><98>A", TEXT("?A")},
        {"<F0><80><80><80>A", TEXT("???A")},
        {"<F4><90><80><80>A", TEXT("???A")},
        {"<F5><80><80><80>", TEXT("????")},
    };
    for (const auto& row : rows) {
        WideString expected = row.text;
        for (WCHAR& unit : expected)
            if (unit == TEXT('?')) unit = 0xFFFD;
        EXPECT_EQ(utf8(utf8ToWide(unescaped(row.bytes))), utf8(expected)) << row.bytes;
    }
    EXPECT_TRUE(utf8ToWide(nullptr, 5).empty());
    EXPECT_TRUE(utf8ToWide("").empty());
    EXPECT_EQ(utf8ToWide(std::string_view("a\0b", 3)).size(), 3U);
}

TEST(Text, halfCharactersBecomeReplacements) {
    const struct {
        WideString text;
        const char* bytes;
    } rows[] = {
        {TEXT("\u00E9\u20AC\xD83D\xDE00"), "<C3><A9><E2><82><AC><F0><9F><98><80>"},
        {WideString(1, 0xD800), "<EF><BF><BD>"},
        {WideString(1, 0xDC00) + TEXT("a"), "<EF><BF><BD>a"},
        {WideString(2, 0xD83D) + WideString(1, 0xDE00), "<EF><BF><BD><F0><9F><98><80>"},
        {WideString(1, 0), "<00>"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(wideToUtf8(row.text), unescaped(row.bytes)) << row.bytes;
    EXPECT_TRUE(wideToUtf8(WideView()).empty());
    EXPECT_TRUE(wideToUtf8(nullptr, 3).empty());
}
