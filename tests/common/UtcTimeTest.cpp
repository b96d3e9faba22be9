#include "common/UtcTime.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/Text.h"

namespace {

std::string fields(const SYSTEMTIME& time) {
    std::string text;
    for (const WORD field : {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond})
        text += (text.empty() ? "" : " ") + std::to_string(field);
    return text;
}

}  // namespace

TEST(UtcTime, readsSixNumbersAndToleratesTheRest) {
    const std::pair<const WCHAR*, const char*> rows[] = {
        {TEXT("2026-03-14T09:26:53Z"), "2026 3 14 9 26 53"},
        {TEXT("2026-03-14T09:26:53"), "2026 3 14 9 26 53"},
        {TEXT("2026-03-14T09:26:53.5+02:00"), "2026 3 14 9 26 53"},
        {TEXT("2026-13-40T25:61:61"), "2026 13 40 25 61 61"},
        {TEXT("2026-3-14T09:26:53Z"), "2026 3 14 9 26 53"},
        {TEXT("  2026- 3-+14T9:\t6: 53"), "2026 3 14 9 6 53"},
        {TEXT("2026-03-14T09:26:5xxxxxx"), "2026 3 14 9 26 5"},
        {TEXT("\n2026-\v03-\f14T\r09:26:53"), "2026 3 14 9 26 53"},
        {TEXT("-1-03-14T-9:26:53Zxxx"), "65535 3 14 65527 26 53"},
        {TEXT("65537-65536-1T2:3:4Z"), "1 0 1 2 3 4"},
        {TEXT("4294967297-1-1T1:1:99999999999999999999"), "1 1 1 1 1 65535"}};
    for (const auto& [text, read] : rows) {
        SCOPED_TRACE(utf8(text));
        SYSTEMTIME time;
        std::memset(&time, 0xAB, sizeof time);
        ASSERT_TRUE(parseUtcTime(text, time));
        EXPECT_EQ(fields(time), read);
        EXPECT_EQ(time.wDayOfWeek, 0);
        EXPECT_EQ(time.wMilliseconds, 0);
    }
}

TEST(UtcTime, refusesMalformedTextAndKeepsTheTime) {
    for (const WCHAR* text :
         {TEXT(""), TEXT("2026-03-14"), TEXT("2026-3-4T9:6:3Z"), TEXT("2026-3-14T9:26:53Z"),
          TEXT("2026-03-14T09:26:\u00A053"), TEXT("2026-03-14 09:26:53"), TEXT("2026-03-14t09:26:53Z"),
          TEXT("2026/03/14T09:26:53Z"), TEXT("2026-03-14T09:26:    "), TEXT("2026-03-14T09:26:+   "),
          TEXT("2026 -03-14T09:26:53"), TEXT("xxxx-03-14T09:26:53Z"), TEXT("\uFF12026-03-14T09:26:53Z")}) {
        SYSTEMTIME time = {};
        time.wYear = 77;
        EXPECT_TRUE(!parseUtcTime(text, time) && time.wYear == 77) << utf8(text);
    }
}

TEST(UtcTime, writesWhatItReads) {
    SYSTEMTIME time = {};
    ASSERT_TRUE(parseUtcTime(TEXT("2026-3-14T09:26:53Z"), time));
    time.wMilliseconds = 999;
    EXPECT_EQ(utf8(formatUtcTime(time)), "2026-03-14T09:26:53Z");
    ASSERT_TRUE(parseUtcTime(TEXT("-1-13-40T25:61:-1...."), time));
    EXPECT_EQ(utf8(formatUtcTime(time)), "65535-13-40T25:61:65535Z");
    GetSystemTime(&time);
    const std::string before = utf8(formatUtcTime(time)), now = utf8(nowUtcText());
    GetSystemTime(&time);
    EXPECT_TRUE(before <= now && now <= utf8(formatUtcTime(time))) << now;
}
