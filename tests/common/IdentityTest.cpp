#include "common/Identity.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "support/Text.h"

TEST(Identity, guidsAreWellFormedAndUnique) {
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> texts, tails;
    for (int i = 0; i < 16; ++i) {
        const std::string text = utf8(newGuidText());
        EXPECT_TRUE(std::regex_match(text, form)) << text;
        texts.insert(text);
        tails.insert(text.substr(32, 2) == text.substr(34, 2) ? "repeated" : "different");
    }
    EXPECT_EQ(texts.size(), 16U);
    EXPECT_EQ(tails.count("different"), 1U) << "each byte is one of its own";
}

TEST(Identity, userHasANameWithoutTerminator) {
    const WideString name = currentUserName();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name.find(WCHAR(0)), WideString::npos);
}
