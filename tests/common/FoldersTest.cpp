#include "common/Folders.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstring>

#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"

TEST(Folders, makesEveryMissingFolder) {
    const TempFolder folder;
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\b\\c")));
    EXPECT_TRUE(exists(folder / TEXT("a\\b\\c")));
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\b\\c"))) << "it is there already";
    EXPECT_TRUE(createDirectoryTree(folder / TEXT("a\\d\\e\\"))) << "a separator at the end";
    EXPECT_TRUE(exists(folder / TEXT("a\\d\\e")));
    EXPECT_TRUE(createDirectoryTree(folder.path() + TEXT("/f/g"))) << "either separator";
}

TEST(Folders, refusesWhatCannotBecomeAFolder) {
    const TempFolder folder;
    writeFile(folder / TEXT("file"), "kept");
    EXPECT_FALSE(createDirectoryTree(TEXT("")));
    EXPECT_FALSE(createDirectoryTree(folder / TEXT("file")));
    EXPECT_FALSE(createDirectoryTree(folder / TEXT("file\\below")));
    EXPECT_EQ(readFile(folder / TEXT("file")), "kept");
    EXPECT_FALSE(createDirectoryTree(TEXT("Q:\\x"))) << "a drive that is not there";
    EXPECT_FALSE(createDirectoryTree(folder / TEXT("a|b")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_NAME));
}

TEST(Folders, localDataFolderHasItsIdentifier) {
    const GUID expected = {0xF1B32785, 0x6FBA, 0x4FCF, {0x9D, 0x55, 0x7B, 0x8E, 0x7F, 0x15, 0x70, 0x91}};
    EXPECT_EQ(std::memcmp(&FOLDERID_LocalAppData, &expected, sizeof expected), 0);
    EXPECT_EQ(reinterpret_cast<ULONG_PTR>(RT_RCDATA), 10U);
    EXPECT_EQ(reinterpret_cast<ULONG_PTR>(HKEY_CURRENT_USER) & 0xFFFFFFFF, 0x80000001U);
}

TEST(Folders, driveRootExists) {
    EXPECT_TRUE(createDirectoryTree(TEXT("C:\\")));
}

TEST(Folders, tellsOwnImageAndDefaultFolder) {
    EXPECT_TRUE(exists(executablePath())) << utf8(executablePath());
    EXPECT_EQ(leafName(executablePath()).substr(0, 6), TEXT("vellum"));

    const bool wasThere = exists(defaultNotesFolder());
    const std::string notes = utf8(defaultNotesFolder());
    const std::string tail = "\\AppData\\Local\\Quorvane\\Ombrel\\Notes";
    ASSERT_GT(notes.size(), tail.size());
    EXPECT_EQ(notes.substr(notes.size() - tail.size()), tail);
    EXPECT_EQ(notes.substr(1, 2), ":\\");
    EXPECT_EQ(exists(defaultNotesFolder()), wasThere) << "it is named, not made";
}
