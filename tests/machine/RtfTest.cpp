// RTF as it should not be, and formats to the last of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "controls/Rtf.h"
#include "support/Text.h"

using namespace platform;

namespace {

DWORD read(const std::string& rtf, RichText& text) {
    std::size_t at = 0;
    return readRtf([&] { return at < rtf.size() ? static_cast<unsigned char>(rtf[at++]) : -1; }, text);
}

// As words: the text of each run in its format, such as "a [b]bold".
std::string described(const RichText& text) {
    std::string all;
    for (const TextRun& run : text.runs()) {
        const TextFormat& format = run.format;
        std::string words;
        if (format.bold) words += "b";
        if (format.italic) words += "i";
        if (format.underline) words += "u";
        if (format.strike) words += "s";
        if (format.color) words += "c" + std::to_string(*format.color);
        if (format.halfPoints) words += "/" + std::to_string(*format.halfPoints);
        all += "[" + words + "]" + utf8(run.text);
    }
    return all;
}

}  // namespace

TEST(Rtf, formatsReachAsFarAsTheirGroup) {
    const struct {
        const char* rtf;
        const char* runs;
    } rows[] = {
        {R"(a{\b b\i c}d)", "[]a[b]b[bi]c[]d"},
        {R"(\b a\b0 b\b1 c)", "[b]a[]b[b]c"},
        {R"(\ul a\ul0 b\uldb c\ulnone d)", "[u]a[]b[u]c[]d"},
        {R"(\strike a\plain b)", "[s]a[/24]b"},
        {R"(\fs48 a\fs b\fs-3 c\fs99999 d)", "[/48]a[/24]bc[/3276]d"},
        {R"({\colortbl;\red255;\green1\blue1;}\cf1 a\cf2 b\cf0 c\cf3 d\cf-1 e)", "[c255]a[c65792]b[]cde"},
        {R"({\colortbl\red1;\red999\green-5;}\cf0 a\cf1 b)", "[c1]a[c255]b"},
        {R"({\*\x\b }a{\b\*\x b}c)", "[]ac"},
        {"\\b a\\line b\\par c", "[b]a\vb\rc"},
    };
    for (const auto& row : rows) {
        RichText text;
        EXPECT_EQ(read("{\\rtf1 " + std::string(row.rtf) + "}", text), kRtfOk) << row.rtf;
        EXPECT_EQ(described(text), row.runs) << row.rtf;
        RichText again;
        EXPECT_EQ(read(writeRtf(text), again), kRtfOk);
        EXPECT_EQ(described(again), row.runs);
    }
}

TEST(Rtf, depthAndLengthHaveBounds) {
    RichText text;
    EXPECT_EQ(read("{\\rtf1 a" + std::string(100000, '{') + "b", text), kRtfIsDamaged);
    EXPECT_EQ(utf8(text.text()), "a");
    text = {};
    EXPECT_EQ(read("{\\rtf1 " + std::string(500, '{') + "b" + std::string(501, '}'), text), kRtfOk);
    EXPECT_EQ(utf8(text.text()), "b");
    text = {};
    EXPECT_EQ(read("{\\rtf1 \\" + std::string(1000000, 'w') + std::string(1000000, '9') + " a}", text), kRtfOk);
    EXPECT_EQ(utf8(text.text()), "a");
}

TEST(Rtf, everyUnitSurvivesARoundTrip) {
    RichText text;
    for (char32_t unit = 1; unit < 0x10000; ++unit)
        if (unit != u'\n') text.append(std::u16string(1, static_cast<char16_t>(unit)), {});
    RichText again;
    const std::string rtf = writeRtf(text);
    EXPECT_TRUE(std::ranges::all_of(
        rtf, [](char each) { return (each >= ' ' && each <= '~') || each == '\r' || each == '\n'; }));
    EXPECT_EQ(read(rtf, again), kRtfOk);
    EXPECT_TRUE(again.text() == text.text());
}

// Many of the bytes mean something, so that the storm gets past the first group.
TEST(Rtf, anyBytesMayComeAndWhatCameOfThemIsStable) {
    const std::string meaning =
        "{}\\'\\uc\\par \\b\\cf1\\fs\\bin\\*;{\\colortbl\\red-132768\\ansicpg932\\ansicpg65001\x83 \n\\plain"
        "{\\fonttbl";
    std::mt19937 random(20240501);
    for (int round = 0; round < 1000; ++round) {
        std::string rtf = round % 10 == 0 ? "" : "{\\rtf1";
        for (int i = 0; i < 60; ++i)
            rtf += random() % 4 == 0 ? std::string(1, static_cast<char>(random()))
                                     : meaning.substr(random() % meaning.size(), 1 + random() % 6);
        SCOPED_TRACE(testing::PrintToString(rtf));
        RichText text, again;
        read(rtf, text);
        const std::string written = writeRtf(text);
        ASSERT_EQ(read(written, again), kRtfOk);
        ASSERT_TRUE(again.text() == text.text());
        ASSERT_EQ(writeRtf(again), written);
    }
}
