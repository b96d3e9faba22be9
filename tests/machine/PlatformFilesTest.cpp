// Files as Windows treats them, where Linux would be more generous.
#include <sys/stat.h>
#include <windows.h>

#include <atomic>
#include <thread>

#include "common/Handles.h"
#include "machine/MachineFixture.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

FileHandle openFile(const WCHAR* path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return FileHandle(CreateFileW(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

TEST_F(MachineTest, shareModesDecideWhoMayOpen) {
    writeFile(TEXT("C:\\f"), "x");
    struct Row {
        DWORD access, share, secondAccess, secondShare;
        DWORD error;
    };
    const Row rows[] = {
        {GENERIC_READ, kAll, GENERIC_READ, kAll, 0},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, 0},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, kAll, 32},
        {GENERIC_WRITE, kAll, GENERIC_READ, FILE_SHARE_READ, 32},
        {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, 0},
        {GENERIC_READ, 0, GENERIC_READ, kAll, 32},
        {GENERIC_READ, kAll, GENERIC_READ, 0, 32},
        {GENERIC_READ, FILE_SHARE_READ, DELETE, kAll, 32},
        {GENERIC_READ, FILE_SHARE_DELETE, DELETE, kAll, 0},
        {0, 0, GENERIC_READ, 0, 0},  // attributes only: neither denies nor is denied
        {GENERIC_WRITE, 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        const FileHandle first = openFile(TEXT("C:\\f"), row.access, row.share);
        ASSERT_TRUE(first);
        const FileHandle second = openFile(TEXT("C:\\F"), row.secondAccess, row.secondShare);
        EXPECT_EQ(second ? 0 : GetLastError(), row.error)
            << std::hex << row.access << " " << row.share << " / " << row.secondAccess << " " << row.secondShare;
    }
    EXPECT_TRUE(openFile(TEXT("C:\\f"), GENERIC_READ, 0)) << "nothing is left of those that were closed";
}

TEST_F(MachineTest, makerOfAFileHasItBeforeAnybodyWhoOpensIt) {
    constexpr unsigned kFiles = 1000;
    std::atomic<unsigned> making{0};
    const auto open = [&] {
        while (making < kFiles)
            openFile((TEXT("C:\\f") + wide(std::to_string(making))).c_str(), GENERIC_READ, FILE_SHARE_READ);
    };
    std::thread first(open), second(open);
    for (; making < kFiles; ++making) {
        const WideString path = TEXT("C:\\f") + wide(std::to_string(making));
        EXPECT_TRUE(openFile(path.c_str(), GENERIC_WRITE, 0, CREATE_NEW)) << making << ": " << GetLastError();
    }
    first.join();
    second.join();
}

TEST_F(MachineTest, openFilesKeepTheirNames) {
    writeFile(TEXT("C:\\a"), "a");
    writeFile(TEXT("C:\\b"), "b");
    const auto moveOver = [] {
        return MoveFileExW(TEXT("C:\\a"), TEXT("C:\\b"), MOVEFILE_REPLACE_EXISTING) ? 0 : GetLastError();
    };
    const struct {
        const WCHAR* path;
        DWORD access, share, error;
    } holders[] = {{TEXT("C:\\a"), GENERIC_READ, FILE_SHARE_READ, ERROR_SHARING_VIOLATION},
                   {TEXT("C:\\b"), GENERIC_READ, kAll, ERROR_ACCESS_DENIED},
                   {TEXT("C:\\b"), 0, kAll, ERROR_ACCESS_DENIED}};  // who has no right to it counts as well
    for (const auto& holder : holders) {
        const FileHandle held = openFile(holder.path, holder.access, holder.share);
        EXPECT_EQ(moveOver(), holder.error) << utf8(holder.path) << " " << holder.access;
    }
    EXPECT_FALSE(MoveFileExW(TEXT("C:\\a"), TEXT("C:\\b"), 0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(readFile(TEXT("C:\\b")), "b");
    EXPECT_EQ(moveOver(), 0U);
    EXPECT_EQ(readFile(TEXT("C:\\b")), "a");
    EXPECT_FALSE(MoveFileExW(TEXT("C:\\a"), TEXT("C:\\b"), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(DeleteFileW(TEXT("C:\\nowhere\\b")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    // A file that is read-only refuses writers and deletion, also from root.
    chmod(hostPath(TEXT("C:\\b")).c_str(), 0444);
    EXPECT_EQ(GetFileAttributesW(TEXT("C:\\b")) & FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(openFile(TEXT("C:\\b"), GENERIC_WRITE, 0));
    EXPECT_FALSE(DeleteFileW(TEXT("C:\\b")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(MoveFileExW(TEXT("C:\\b"), TEXT("C:\\c"), 0)) << "but it can be moved";
}

TEST_F(MachineTest, pathsAreResolvedAsWindowsDoes) {
    CreateDirectoryW(TEXT("C:\\Folder"), nullptr);
    writeFile(TEXT("C:\\Folder\\Note.JSON"), "x");
    const std::filesystem::path file = folder() / "drive_c/Folder/Note.JSON";
    const std::string z = "Z:" + file.string();
    for (const WideString& path : {WideString(TEXT("C:\\folder\\note.json")), WideString(TEXT("c:/FOLDER/Note.JSON")),
                                   WideString(TEXT("C:\\Folder\\.\\x\\..\\Note.JSON. .")), wide(z)})
        EXPECT_EQ(hostPath(path), file) << utf8(path);
    EXPECT_EQ(utf8(productPath(file)), "C:\\Folder\\Note.JSON");

    const struct {
        WideString path;
        DWORD error;
    } rows[] = {{TEXT(""), ERROR_PATH_NOT_FOUND},
                {TEXT("Q:\\x"), ERROR_PATH_NOT_FOUND},
                {TEXT("C:\\a*b"), ERROR_INVALID_NAME},
                {TEXT("C:\\a:b"), ERROR_INVALID_NAME},
                {TEXT("C:\\") + WideString(257, TEXT('x')), ERROR_PATH_NOT_FOUND},
                {TEXT("C:\\none"), ERROR_FILE_NOT_FOUND},
                {TEXT("C:\\none\\x"), ERROR_PATH_NOT_FOUND},
                {TEXT("C:\\Folder\\Note.JSON\\x"), ERROR_PATH_NOT_FOUND}};
    for (const auto& row : rows) {
        EXPECT_EQ(GetFileAttributesW(row.path.c_str()), INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(GetLastError(), row.error) << utf8(row.path);
    }
    EXPECT_FALSE(openFile(TEXT("C:\\Folder"), GENERIC_READ, kAll)) << "a folder is no file";
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}
