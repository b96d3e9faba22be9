// One read of a folder's changes after the other, as the watcher makes them.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "support/Changes.h"
#include "support/Files.h"

namespace fs = std::filesystem;

TEST(DirectoryChangesThreads, whatHappensBetweenReadsIsKept) {
    const TempFolder folder;
    Changes changes(folder.path());
    ASSERT_TRUE(changes.begin());
    writeFile(folder / TEXT("a"), "1");
    EXPECT_TRUE(changes.finish().starts_with("+a"));
    fs::rename(hostPath(folder / TEXT("a")), hostPath(folder / TEXT("b")));
    fs::remove(hostPath(folder / TEXT("b")));
    writeFile(folder / TEXT("end"), "1");
    const std::string told = changes.readUntil("+end");
    EXPECT_NE(told.find("<a >b -b +end"), std::string::npos) << told;
}

TEST(DirectoryChangesThreads, cancelledReadSaysSo) {
    const TempFolder folder;
    Changes changes(folder.path());
    ASSERT_TRUE(changes.begin());
    EXPECT_FALSE(changes.isFinished());
    DWORD bytes = 0;
    EXPECT_FALSE(GetOverlappedResult(changes.directory.get(), &changes.overlapped, &bytes, FALSE));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_IO_INCOMPLETE});
    EXPECT_TRUE(CancelIoEx(changes.directory.get(), &changes.overlapped));
    EXPECT_EQ(changes.finish(), "error 995");
    EXPECT_FALSE(CancelIoEx(changes.directory.get(), &changes.overlapped));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_FOUND}) << "nothing is pending";
}

TEST(DirectoryChangesThreads, folderMayBeClosedWithAReadPending) {
    const TempFolder folder;
    for (int i = 0; i < 20; ++i) {
        Changes changes(folder.path());
        ASSERT_TRUE(changes.begin());
        if (i % 2 == 1) writeFile(folder / wide(std::to_string(i)), "x");
        changes.directory.reset();
        EXPECT_EQ(WaitForSingleObject(changes.done.get(), 30000), DWORD{WAIT_OBJECT_0});
    }
}

TEST(DirectoryChangesThreads, readOfSomethingElseIsRefused) {
    const TempFolder folder;
    Changes missing(folder / TEXT("missing"));
    EXPECT_FALSE(missing.directory);
    Changes closed(folder.path());
    closed.directory.reset();
    EXPECT_FALSE(closed.begin());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}
