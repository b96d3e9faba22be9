#include "common/WideText.h"

#include <gtest/gtest.h>

#include "support/Text.h"

TEST(WideText, formatsTheSameOnEveryPlatform) {
    const DWORD big = 4294967295U;
    const std::size_t size = 18446744073709551615U;
    const WORD month = 3;
    const WCHAR lone[] = {TEXT('a'), 0xD800, TEXT('b'), 0xDC00, 0};
    EXPECT_EQ(utf8(formatWideString(TEXT("%lu %u %d %zu"), big, 7U, -12, size)),
              "4294967295 7 -12 18446744073709551615");
    EXPECT_EQ(utf8(formatWideString(TEXT("[%04u][%5d][%02X][%08lx][%08lX]"), month, -42, 0xABU, big, DWORD(0xBEEF))),
              "[0003][  -42][AB][ffffffff][0000BEEF]");
    EXPECT_EQ(utf8(formatWideString(TEXT("%ls|%ls|%ls 100%%"), TEXT("\u00E9\u20AC"), TEXT(""), lone)),
              utf8(TEXT("\u00E9\u20AC||") + WideString(lone) + TEXT(" 100%")));
    EXPECT_EQ(utf8(formatWideString(TEXT("%ls"), static_cast<const WCHAR*>(nullptr))), "(null)");
    EXPECT_EQ(utf8(formatWideString(TEXT("%lld %llu"), LONGLONG(-9000000000), ULONGLONG(9000000000))),
              "-9000000000 9000000000");
}

TEST(WideText, formattedTextIsCutAtTheCapacityAndTerminated) {
    const std::tuple<const WCHAR*, int, const char*> rows[] = {{TEXT("abcdef"), 6, "abcdef"},
                                                               {TEXT("abcdefg"), 7, "abcdefg"},
                                                               {TEXT("abcdefgh"), 8, "abcdefg"},
                                                               {TEXT("abcdefghijkl"), 12, "abcdefg"},
                                                               {TEXT(""), 0, ""}};
    for (const auto& [text, length, kept] : rows) {
        WCHAR buffer[9];
        std::fill(std::begin(buffer), std::end(buffer), TEXT('#'));
        EXPECT_EQ(formatWide(buffer, 8, TEXT("%ls"), text), length);
        EXPECT_EQ(utf8(buffer), kept);
        EXPECT_EQ(buffer[8], TEXT('#')) << "nothing is written behind the buffer";
    }
}

TEST(WideText, decodesHexDigitsInEitherCase) {
    constexpr WideView kDigits = TEXT("0123456789abcdef0123456789ABCDEF");
    for (WCHAR unit = 0; unit < 0x200; ++unit) {
        const std::size_t at = kDigits.find(unit);
        EXPECT_EQ(hexValue(unit), at == WideView::npos ? -1 : static_cast<int>(at % 16)) << int{unit};
    }
}

TEST(WideText, comparesOrdinallyIgnoringCase) {
    const std::tuple<const WCHAR*, const WCHAR*, bool> rows[] = {
        {TEXT("JSON"), TEXT("json"), true},       {TEXT(""), TEXT(""), true},
        {TEXT("a"), TEXT("ab"), false},           {TEXT("\u00C4\u00D6"), TEXT("\u00E4\u00F6"), true},
        {TEXT("\u0416"), TEXT("\u0436"), true},   {TEXT("\u03A3"), TEXT("\u03C3"), true},
        {TEXT("\u03A3"), TEXT("\u03C2"), false},  {TEXT("i"), TEXT("\u0131"), false},
        {TEXT("I"), TEXT("\u0130"), false},       {TEXT("s"), TEXT("\u017F"), false},
        {TEXT("k"), TEXT("\u212A"), false},       {TEXT("ss"), TEXT("\u00DF"), false},
        {TEXT("e\u0301"), TEXT("\u00E9"), false}, {TEXT("\uFF21"), TEXT("\uFF41"), true},
        {TEXT("\u01C4"), TEXT("\u01C6"), true},   {TEXT("\u01C5"), TEXT("\u01C6"), false},
        {TEXT("[a"), TEXT("{a"), false}};
    EXPECT_TRUE(equalsIgnoreCase(WideView(), WideView()));
    for (const auto& [left, right, equal] : rows)
        EXPECT_EQ(equalsIgnoreCase(left, right), equal) << utf8(left) << " " << utf8(right);
}
