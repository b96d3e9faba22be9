#include "app/InstanceNames.h"

#include <gtest/gtest.h>

#include "support/Text.h"

TEST(InstanceNames, folderAndSuffixReplaceWhatCannotStandInThem) {
    struct Row {
        const WCHAR *instance, *folder, *suffix;
    };
    const Row rows[] = {
        {TEXT(""), TEXT(""), TEXT("")},
        {TEXT("blue 1.\u00E9"), TEXT("blue 1.\u00E9"), TEXT(".blue 1.\u00E9")},
        {TEXT("a\\b/c"), TEXT("a_b_c"), TEXT(".a_b_c")},
        {TEXT(":*?\"<>|"), TEXT("_______"), TEXT(".:*?\"<>|")},
        {TEXT("\x01\t\x1F\x20\x7F"), TEXT("___\x20\x7F"), TEXT(".___\x20\x7F")},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(utf8(instanceFolder(row.instance)), utf8(row.folder));
        EXPECT_EQ(utf8(instanceSuffix(row.instance)), utf8(row.suffix));
    }
}
