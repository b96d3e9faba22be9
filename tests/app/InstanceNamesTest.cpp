#include "app/InstanceNames.h"

#include <gtest/gtest.h>

#include "support/Text.h"

TEST(InstanceNames, folderAndSuffixReplaceInvalidCharacters) {
    const std::tuple<const WCHAR*, const WCHAR*, const WCHAR*> rows[] = {
        {TEXT(""), TEXT(""), TEXT("")},
        {TEXT("blue 1.\u00E9"), TEXT("blue 1.\u00E9"), TEXT(".blue 1.\u00E9")},
        {TEXT("a\\b/c"), TEXT("a_b_c"), TEXT(".a_b_c")},
        {TEXT(":*?\"<>|"), TEXT("_______"), TEXT(".:*?\"<>|")},
        {TEXT("\x01\t\x1F\x20\x7F"), TEXT("___\x20\x7F"), TEXT(".___\x20\x7F")}};
    for (const auto& [instance, folder, suffix] : rows) {
        EXPECT_EQ(utf8(instanceFolder(instance)), utf8(folder));
        EXPECT_EQ(utf8(instanceSuffix(instance)), utf8(suffix));
    }
}
