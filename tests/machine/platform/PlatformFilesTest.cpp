// File rules of Windows that are stricter than those of Linux.
#include <sys/stat.h>

#include <atomic>

#include "common/Handles.h"
#include "machine/support/MachineFixture.h"

namespace {

using PlatformFiles = MachineTest;

FileHandle openFile(const WCHAR* path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return FileHandle(CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

long move(const WCHAR* from, const WCHAR* to, DWORD flags) {
    return errorAfter(MoveFileExW(from, to, flags));
}

constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

TEST_F(PlatformFiles, shareModesDecideWhoMayOpen) {
    writeFile(TEXT("C:\\f"), "x");
    const std::tuple<DWORD, DWORD, DWORD, DWORD, DWORD> rows[] = {
        {GENERIC_READ, kAll, GENERIC_READ, kAll, 0},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, 0},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, kAll, 32},
        {GENERIC_WRITE, kAll, GENERIC_READ, FILE_SHARE_READ, 32},
        {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, 0},
        {GENERIC_READ, 0, GENERIC_READ, kAll, 32},
        {GENERIC_READ, kAll, GENERIC_READ, 0, 32},
        {GENERIC_READ, FILE_SHARE_READ, DELETE, kAll, 32},
        {GENERIC_READ, FILE_SHARE_DELETE, DELETE, kAll, 0},
        {0, 0, GENERIC_READ, 0, 0},  // attributes only: never conflicts
        {GENERIC_WRITE, 0, 0, 0, 0}};
    for (const auto& [access, share, secondAccess, secondShare, error] : rows) {
        const FileHandle first = openFile(TEXT("C:\\f"), access, share);
        ASSERT_TRUE(first);
        const FileHandle second = openFile(TEXT("C:\\F"), secondAccess, secondShare);
        EXPECT_EQ(second ? 0 : GetLastError(), error)
            << std::hex << access << " " << share << " / " << secondAccess << " " << secondShare;
    }
    EXPECT_TRUE(openFile(TEXT("C:\\f"), GENERIC_READ, 0)) << "nothing is left of those that were closed";
}

TEST_F(PlatformFiles, creatorOfAFileWinsOverOtherOpeners) {
    constexpr unsigned kFiles = 300;
    std::atomic<unsigned> making{0};
    const auto path = [&] { return TEXT("C:\\f") + wide(std::to_string(making)); };
    const auto open = [&] {
        while (making < kFiles)
            openFile(path().c_str(), GENERIC_READ, FILE_SHARE_READ);
    };
    std::thread first(open), second(open);
    for (; making < kFiles; ++making)
        EXPECT_TRUE(openFile(path().c_str(), GENERIC_WRITE, 0, CREATE_NEW)) << making << ": " << GetLastError();
    first.join();
    second.join();
}

TEST_F(PlatformFiles, openFilesCannotBeMovedOrReplaced) {
    writeFile(TEXT("C:\\a"), "a");
    writeFile(TEXT("C:\\b"), "b");
    const std::tuple<const WCHAR*, DWORD, DWORD, long> holders[] = {
        {TEXT("C:\\a"), GENERIC_READ, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
        {TEXT("C:\\b"), GENERIC_READ, kAll, ERROR_ACCESS_DENIED},
        {TEXT("C:\\b"), 0, kAll, ERROR_ACCESS_DENIED}};  // a handle without any rights keeps the name too
    for (const auto& [path, access, share, error] : holders) {
        const FileHandle held = openFile(path, access, share);
        EXPECT_EQ(move(TEXT("C:\\a"), TEXT("C:\\b"), MOVEFILE_REPLACE_EXISTING), error) << utf8(path) << access;
    }
}

TEST_F(PlatformFiles, moveReplacesOnlyIfAsked) {
    writeFile(TEXT("C:\\a"), "a");
    writeFile(TEXT("C:\\b"), "b");
    EXPECT_EQ(move(TEXT("C:\\a"), TEXT("C:\\b"), 0), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(readFile(TEXT("C:\\b")), "b");
    EXPECT_EQ(move(TEXT("C:\\a"), TEXT("C:\\b"), MOVEFILE_REPLACE_EXISTING), 0);
    EXPECT_EQ(readFile(TEXT("C:\\b")), "a");
    EXPECT_EQ(move(TEXT("C:\\a"), TEXT("C:\\b"), MOVEFILE_REPLACE_EXISTING), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errorAfter(DeleteFileW(TEXT("C:\\nowhere\\b"))), ERROR_PATH_NOT_FOUND);
}

// Holds for root as well.
TEST_F(PlatformFiles, readOnlyFileRefusesWritersAndDeletion) {
    writeFile(TEXT("C:\\b"), "b");
    chmod(hostPath(TEXT("C:\\b")).c_str(), 0444);
    EXPECT_EQ(GetFileAttributesW(TEXT("C:\\b")) & FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(openFile(TEXT("C:\\b"), GENERIC_WRITE, 0));
    EXPECT_EQ(errorAfter(DeleteFileW(TEXT("C:\\b"))), ERROR_ACCESS_DENIED);
    EXPECT_EQ(move(TEXT("C:\\b"), TEXT("C:\\c"), 0), 0) << "but it can be moved";
}

TEST_F(PlatformFiles, resolvesPathsLikeWindows) {
    CreateDirectoryW(TEXT("C:\\Folder"), nullptr);
    writeFile(TEXT("C:\\Folder\\Note.JSON"), "x");
    const fs::path file = folder() / "drive_c/Folder/Note.JSON";
    for (const WideString& path : {WideString(TEXT("C:\\folder\\note.json")), WideString(TEXT("c:/FOLDER/Note.JSON")),
                                   WideString(TEXT("C:\\Folder\\.\\x\\..\\Note.JSON. .")), wide("Z:" + file.string())})
        EXPECT_EQ(hostPath(path), file) << utf8(path);
    EXPECT_EQ(utf8(productPath(file)), "C:\\Folder\\Note.JSON");
}

TEST_F(PlatformFiles, pathWithoutAFileIsAnError) {
    CreateDirectoryW(TEXT("C:\\Folder"), nullptr);
    writeFile(TEXT("C:\\Folder\\Note.JSON"), "x");
    const std::pair<long, std::vector<WideString>> rows[] = {
        {ERROR_PATH_NOT_FOUND,
         {TEXT(""), TEXT("Q:\\x"), TEXT("C:\\") + WideString(257, TEXT('x')), TEXT("C:\\none\\x"),
          TEXT("C:\\Folder\\Note.JSON\\x")}},
        {ERROR_INVALID_NAME, {TEXT("C:\\a*b"), TEXT("C:\\a:b")}},
        {ERROR_FILE_NOT_FOUND, {TEXT("C:\\none")}}};
    for (const auto& [error, paths] : rows)
        for (const WideString& path : paths)
            EXPECT_EQ(errorAfter(GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES), error) << utf8(path);
    EXPECT_EQ(errorAfter(openFile(TEXT("C:\\Folder"), GENERIC_READ, kAll)), ERROR_ACCESS_DENIED) << "a folder";
}
