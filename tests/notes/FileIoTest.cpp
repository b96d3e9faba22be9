#include "notes/FileIo.h"

#include <gtest/gtest.h>

#include "common/Handles.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

FileHandle hold(const WideString& path, DWORD share) {
    return FileHandle(
        CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

constexpr DWORD kReadWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;

}  // namespace

TEST(FileIo, readsWhatIsWritten) {
    const TempFolder folder;
    const WideString path = folder / TEXT("n\u00F6te.json");
    std::string large(200001, 'x');
    large[100000] = 0;
    for (const std::string& bytes : {std::string("first"), large, std::string(), std::string("last")}) {
        writeFile(path + TEXT(".tmp"), "left behind by a crash, and longer than some of what comes");
        ASSERT_TRUE(writeFileAtomic(path, bytes));
        std::string read = "old content";
        ASSERT_TRUE(readFileBytes(path, read));
        EXPECT_TRUE(read == bytes);
        EXPECT_FALSE(exists(path + TEXT(".tmp")));
    }
}

TEST(FileIo, refusesWhatCannotBeRead) {
    const TempFolder folder;
    std::string bytes = "old content";
    EXPECT_EQ(errorAfter(readFileBytes(folder / TEXT("none"), bytes)), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(errorAfter(readFileBytes(folder / TEXT("none\\x"), bytes)), ERROR_PATH_NOT_FOUND);
    EXPECT_FALSE(readFileBytes(folder.path(), bytes)) << "a folder";

    writeFile(folder / TEXT("large"), "x");
    std::filesystem::resize_file(hostPath(folder / TEXT("large")), 67108864);
    EXPECT_TRUE(readFileBytes(folder / TEXT("large"), bytes));
    EXPECT_EQ(bytes.size(), 67108864U);
    std::filesystem::resize_file(hostPath(folder / TEXT("large")), 67108865);
    EXPECT_FALSE(readFileBytes(folder / TEXT("large"), bytes));
    EXPECT_EQ(bytes, "");
}

TEST(FileIo, noteThatIsOpenElsewhereIsNotReplaced) {
    const TempFolder folder;
    const WideString path = folder / TEXT("a.json");
    writeFile(path, "old");
    {
        const FileHandle reader = hold(path, kReadWrite);
        EXPECT_EQ(errorAfter(writeFileAtomic(path, "new")), ERROR_ACCESS_DENIED) << "the reason outlives the clean-up";
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_FALSE(exists(path + TEXT(".tmp")));
    EXPECT_FALSE(writeFileAtomic(folder / TEXT("none\\a.json"), "new"));
}

TEST(FileIo, readsWhileAnotherProcessWrites) {
    const TempFolder folder;
    const WideString path = folder / TEXT("a.json");
    writeFile(path, "half");
    const FileHandle writer(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string bytes;
    EXPECT_TRUE(readFileBytes(path, bytes));
    EXPECT_EQ(bytes, "half");
}

TEST(FileIo, deletingAMissingFileSucceeds) {
    const TempFolder folder;
    const WideString path = folder / TEXT("a.json");
    writeFile(path, "x");
    EXPECT_TRUE(fileExists(path));
    {
        const FileHandle reader = hold(path, kReadWrite);
        EXPECT_FALSE(deleteFile(path));
    }
    EXPECT_TRUE(deleteFile(path));
    EXPECT_FALSE(fileExists(path));
    EXPECT_TRUE(deleteFile(path)) << "it is gone, which is what counts";
    EXPECT_TRUE(deleteFile(folder / TEXT("none\\a.json")));
    EXPECT_FALSE(deleteFile(folder.path())) << "a folder";
    EXPECT_FALSE(fileExists(folder.path()));
}
