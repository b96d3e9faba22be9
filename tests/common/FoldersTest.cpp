#include "common/Folders.h"

#include <gtest/gtest.h>

#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"

TEST(Folders, createsEveryMissingFolder) {
    const TempFolder folder;
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\b\\c")));
    EXPECT_TRUE(exists(folder / TEXT("a\\b\\c")));
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\b\\c"))) << "it is there already";
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\d\\e\\"))) << "a separator at the end";
    EXPECT_TRUE(exists(folder / TEXT("a\\d\\e")));
    EXPECT_TRUE(createDirectoryTree(folder.path() + TEXT("/f/g"))) << "either separator";
    EXPECT_TRUE(createDirectoryTree(TEXT("C:\\"))) << "the root of a drive";
}

TEST(Folders, refusesWhatCannotBecomeAFolder) {
    const TempFolder folder;
    writeFile(folder / TEXT("file"), "kept");
    EXPECT_FALSE(createDirectoryTree(TEXT("")));
    EXPECT_FALSE(createDirectoryTree(folder / TEXT("file")));
    EXPECT_FALSE(createDirectoryTree(folder / TEXT("file\\below")));
    EXPECT_EQ(readFile(folder / TEXT("file")), "kept");
    EXPECT_FALSE(createDirectoryTree(TEXT("Q:\\x"))) << "a drive that is not there";
    EXPECT_EQ(errorAfter(createDirectoryTree(folder / TEXT("a|b"))), ERROR_INVALID_NAME);
}

TEST(Folders, findsTheExecutableAndTheDefaultFolder) {
    EXPECT_TRUE(exists(executablePath())) << utf8(executablePath());
    EXPECT_EQ(leafName(executablePath()).substr(0, 6), TEXT("vellum"));

    const bool wasThere = exists(defaultNotesFolder());
    const std::string notes = utf8(defaultNotesFolder());
    EXPECT_TRUE(notes.ends_with("\\AppData\\Local\\Quorvane\\Ombrel\\Notes") && notes.find(":\\") == 1) << notes;
    EXPECT_EQ(exists(defaultNotesFolder()), wasThere) << "it is named, not made";
}
