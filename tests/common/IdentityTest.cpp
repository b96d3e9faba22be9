#include "common/Identity.h"

#include <gtest/gtest.h>

#include <regex>

#include "support/Text.h"

TEST(Identity, guidsHaveTheirFormAndDiffer) {
    const std::string first = utf8(newGuidText()), second = utf8(newGuidText());
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(first, form)) << first;
    EXPECT_NE(first, second);
}

TEST(Identity, userHasANameWithoutTerminator) {
    const WideString name = currentUserName();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name.find(WCHAR(0)), WideString::npos);
}
