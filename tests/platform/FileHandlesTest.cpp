// Queries and changes of files and folders through their handles.
#include <gtest/gtest.h>
#include <windows.h>

#include <aclapi.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "common/Handles.h"
#include "support/Files.h"

namespace {

constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

FileHandle open(const WideString& path, DWORD access, DWORD share = kAll, DWORD disposition = OPEN_EXISTING,
                DWORD flags = FILE_FLAG_OPEN_REPARSE_POINT) {
    return FileHandle(CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr));
}

// Returns 0 or the error.
DWORD renameTo(const FileHandle& file, const WideString& target, bool replaces) {
    const std::size_t nameBytes = target.size() * sizeof(WCHAR);
    std::vector<BYTE> request(offsetof(FILE_RENAME_INFO, FileName) + nameBytes + sizeof(WCHAR) + 8);
    FILE_RENAME_INFO head = {};
    head.ReplaceIfExists = replaces;
    head.FileNameLength = static_cast<DWORD>(nameBytes);
    std::memcpy(request.data(), &head, offsetof(FILE_RENAME_INFO, FileName));
    std::memcpy(request.data() + offsetof(FILE_RENAME_INFO, FileName), target.data(), nameBytes);
    const DWORD size = static_cast<DWORD>(request.size());
    return SetFileInformationByHandle(file.get(), FileRenameInfo, request.data(), size) ? 0 : GetLastError();
}

DWORD dispose(const FileHandle& file, bool isToGo = true) {
    FILE_DISPOSITION_INFO request = {isToGo};
    return SetFileInformationByHandle(file.get(), FileDispositionInfo, &request, sizeof request) ? 0 : GetLastError();
}

}  // namespace

TEST(FileHandles, reportsAttributesSizeAndLinkCount) {
    const TempFolder folder;
    writeFile(folder / TEXT("a"), "12345");
    BY_HANDLE_FILE_INFORMATION told = {};
    ASSERT_TRUE(GetFileInformationByHandle(open(folder / TEXT("a"), READ_CONTROL).get(), &told));
    EXPECT_EQ(told.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT), 0U);
    EXPECT_EQ(told.nFileSizeLow, 5U);
    EXPECT_EQ(told.nNumberOfLinks, 1U);
    std::filesystem::create_hard_link(hostPath(folder / TEXT("a")), hostPath(folder / TEXT("b")));
    ASSERT_TRUE(GetFileInformationByHandle(open(folder / TEXT("a"), GENERIC_READ).get(), &told));
    EXPECT_EQ(told.nNumberOfLinks, 2U);
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    const FileHandle directory =
        open(folder.path(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES, 3, OPEN_EXISTING, flags);
    ASSERT_TRUE(GetFileInformationByHandle(directory.get(), &told));
    EXPECT_EQ(told.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT),
              DWORD{FILE_ATTRIBUTE_DIRECTORY});
    EXPECT_EQ(errorAfter(open(folder.path(), GENERIC_READ)), ERROR_ACCESS_DENIED) << "a folder needs its flag";
    const FileHandle plain = open(folder / TEXT("a"), FILE_LIST_DIRECTORY, 3, OPEN_EXISTING, flags);
    ASSERT_TRUE(GetFileInformationByHandle(plain.get(), &told)) << "with the flag a file opens as well";
    EXPECT_EQ(told.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0U);
    EXPECT_EQ(errorAfter(GetFileInformationByHandle(nullptr, &told)), ERROR_INVALID_HANDLE);
}

TEST(FileHandles, renamesByHandle) {
    const TempFolder folder;
    const WideString source = folder / TEXT("{A}.tmp"), target = folder / TEXT("note_a.json");
    writeFile(target, "old");
    FileHandle file = open(source, GENERIC_WRITE | DELETE, 0, CREATE_NEW, 0x200080);
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(file.get(), "new", 3, &written, nullptr));
    EXPECT_TRUE(FlushFileBuffers(file.get()));
    EXPECT_EQ(renameTo(file, target, false), DWORD{ERROR_ALREADY_EXISTS});
    {
        const FileHandle reader = open(target, GENERIC_READ);
        EXPECT_EQ(renameTo(file, target, true), DWORD{ERROR_ACCESS_DENIED}) << "an open file is not replaced";
    }
    EXPECT_EQ(readFile(target), "old");
    EXPECT_EQ(renameTo(file, target, true), 0U);
    file.reset();
    EXPECT_EQ(readFile(target), "new");
    EXPECT_FALSE(exists(source));
}

TEST(FileHandles, deletesByHandleWhenItIsClosed) {
    const TempFolder folder;
    const WideString path = folder / TEXT("a"), moved = folder / TEXT("b");
    writeFile(path, "x");
    EXPECT_EQ(dispose(open(path, GENERIC_READ)), DWORD{ERROR_ACCESS_DENIED}) << "a handle without DELETE";
    FileHandle file = open(path, DELETE | READ_CONTROL | FILE_READ_ATTRIBUTES, FILE_SHARE_READ);
    EXPECT_EQ(dispose(file), 0U);
    EXPECT_EQ(dispose(file, false), 0U);
    file.reset();
    EXPECT_TRUE(exists(path)) << "not after all";
    file = open(path, DELETE, FILE_SHARE_READ);
    EXPECT_EQ(renameTo(file, moved, false), 0U);
    writeFile(path, "another");
    EXPECT_EQ(dispose(file), 0U);
    file.reset();
    EXPECT_FALSE(exists(moved)) << "the file, not the name that it was opened by";
    EXPECT_EQ(readFile(path), "another");
}

TEST(FileHandles, foldersHeldWithoutShareDeleteCannotBeRenamed) {
    const TempFolder folder;
    const WideString path = folder / TEXT("queue"), moved = folder / TEXT("moved");
    std::filesystem::create_directory(hostPath(path));
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    const auto pin = [&](DWORD right = 0) {
        return open(path, FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL | right,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, flags);
    };
    {
        const FileHandle pinned = pin();
        ASSERT_TRUE(pinned);
        EXPECT_TRUE(pin()) << "as often as wanted";
        EXPECT_EQ(errorAfter(pin(DELETE)), ERROR_SHARING_VIOLATION);
        EXPECT_EQ(errorAfter(MoveFileExW(path.c_str(), moved.c_str(), 0)), ERROR_SHARING_VIOLATION);
    }
    FileHandle claimed = pin(DELETE);
    ASSERT_TRUE(claimed);
    EXPECT_FALSE(pin(DELETE)) << "one claims at a time";
    EXPECT_EQ(renameTo(claimed, moved, false), 0U);
    EXPECT_TRUE(std::filesystem::is_directory(hostPath(moved)));
    claimed.reset();
    EXPECT_TRUE(MoveFileExW(moved.c_str(), path.c_str(), 0));
    std::filesystem::create_directory(hostPath(moved));
    claimed = pin(DELETE);
    EXPECT_EQ(renameTo(claimed, moved, false), DWORD{ERROR_ALREADY_EXISTS});
}
