// RTF that no program writes. tests/platform tests well-formed RTF on both platforms.
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

}  // namespace

TEST(Rtf, depthAndLengthAreLimited) {
    const std::tuple<std::string, DWORD, const char*> rows[] = {
        {"a" + std::string(100000, '{') + "b", kRtfIsDamaged, "a"},
        {std::string(500, '{') + "b" + std::string(501, '}'), kRtfOk, "b"},
        {"\\" + std::string(1000000, 'w') + std::string(1000000, '9') + " a}", kRtfOk, "a"}};
    for (const auto& [rtf, result, text] : rows) {
        RichText found;
        EXPECT_EQ(read("{\\rtf1 " + rtf, found), result);
        EXPECT_EQ(utf8(found.text()), text);
    }
}

// Many of the random bytes are RTF syntax, so that parsing gets past the first group.
TEST(Rtf, readsAnyBytesAndWritesRtfThatReadsBack) {
    const std::string meaning =
        "{}\\'\\uc\\par \\b\\cf1\\fs\\bin\\*;{\\colortbl\\red-132768\\ansicpg932\\ansicpg65001\x83 \n\\plain"
        "{\\fonttbl";
    std::mt19937 random(20240501);
    for (int round = 0; round < 1000; ++round) {
        std::string rtf = round % 10 == 0 ? "" : "{\\rtf1";
        for (int i = 0; i < 60; ++i)
            rtf += random() % 4 == 0 ? std::string(1, static_cast<char>(random()))
                                     : meaning.substr(random() % meaning.size(), 1 + random() % 6);
        RichText text, again;
        read(rtf, text);
        const std::string written = writeRtf(text);
        ASSERT_EQ(read(written, again), kRtfOk) << testing::PrintToString(rtf);
        ASSERT_TRUE(again.text() == text.text()) << testing::PrintToString(rtf);
        ASSERT_EQ(writeRtf(again), written) << testing::PrintToString(rtf);
    }
}
