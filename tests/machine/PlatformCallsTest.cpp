// The small print of the calls, where the product or its tests would notice a difference.
#include <windows.h>

#include <chrono>

#include "common/Arguments.h"
#include "common/AutoStart.h"
#include "common/Handles.h"
#include "machine/MachineFixture.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace platform;

TEST_F(MachineTest, commandLineBringsEveryArgumentBack) {
    const std::vector<std::vector<std::string>> rows = {{"p"},
                                                        {"p", ""},
                                                        {"p", "a b", "c"},
                                                        {"p", "a\"b"},
                                                        {"p", "a\\\"b"},
                                                        {"p", "a b\\"},
                                                        {"p", "a\\b", "\xF0\x9F\x98\x80", "\t"}};
    for (const std::vector<std::string>& row : rows) {
        setCommandLine(row);
        const std::vector<WideString> split = splitCommandLine(GetCommandLineW());
        ASSERT_EQ(split.size(), row.size());
        for (std::size_t i = 1; i < row.size(); ++i)
            EXPECT_EQ(utf8(split[i]), row[i]);
    }
}

TEST_F(MachineTest, dispositionsMakeOpenAndEmpty) {
    const struct {
        DWORD disposition;
        bool exists;
        DWORD error;  // of the call that failed, or what a success has to tell
        bool opens;
        const char* content;
    } rows[] = {
        {CREATE_NEW, false, 0, true, ""},
        {CREATE_NEW, true, ERROR_FILE_EXISTS, false, "old"},
        {CREATE_ALWAYS, false, 0, true, ""},
        {CREATE_ALWAYS, true, ERROR_ALREADY_EXISTS, true, ""},
        {OPEN_EXISTING, true, 0, true, "old"},
        {OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND, false, ""},
        {OPEN_ALWAYS, false, 0, true, ""},
        {OPEN_ALWAYS, true, ERROR_ALREADY_EXISTS, true, "old"},
        {7, true, ERROR_INVALID_PARAMETER, false, "old"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(hostPath(TEXT("C:\\f")));
        if (row.exists) writeFile(TEXT("C:\\f"), "old");
        const FileHandle file(CreateFileW(TEXT("C:\\f"), GENERIC_READ, 0, nullptr, row.disposition, 0, nullptr));
        const DWORD error = GetLastError();
        EXPECT_EQ(static_cast<bool>(file), row.opens) << row.disposition << row.exists;
        EXPECT_EQ(error, row.error) << row.disposition << row.exists;
        EXPECT_EQ(readFile(TEXT("C:\\f")), row.content) << row.disposition << row.exists;
        DWORD written = 0;
        EXPECT_FALSE(WriteFile(file.get(), "x", 1, &written, nullptr)) << "no right to write";
        EXPECT_FALSE(FlushFileBuffers(file.get()));
    }
}

TEST_F(MachineTest, foldersAreNoFiles) {
    ASSERT_TRUE(CreateDirectoryW(TEXT("C:\\folder"), nullptr));
    EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\folder"), nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    EXPECT_FALSE(DeleteFileW(TEXT("C:\\folder")));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(CreateDirectoryW((TEXT("C:\\") + WideString(245, TEXT('x'))).c_str(), nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE));
    std::filesystem::create_directory_symlink(folder() / "drive_c/folder", folder() / "drive_c/link");
    EXPECT_EQ(GetFileAttributesW(TEXT("C:\\link")), DWORD{FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT});
}

TEST_F(MachineTest, registryKeepsUsersNamesAndTypesApart) {
    ASSERT_TRUE(setAutoStart(TEXT("operator's")));
    RegistryKey key;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, TEXT("None"), 0, KEY_QUERY_VALUE, key.put()), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(std::filesystem::exists(folder() / "registry/HKEY_USERS/operator/None")) << "looking makes nothing";
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, TEXT("A/b%\\.c"), 0, nullptr, 0, KEY_SET_VALUE | KEY_QUERY_VALUE,
                              nullptr, key.put(), nullptr),
              0);
    const BYTE bytes[] = {0, 255, 16};
    ASSERT_EQ(RegSetValueExW(key.get(), TEXT(".x/%"), 0, REG_BINARY, bytes, 3), 0);
    BYTE read[3] = {};
    DWORD type = 0, size = 2;
    EXPECT_EQ(RegQueryValueExW(key.get(), TEXT(".X/%"), nullptr, &type, read, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(RegQueryValueExW(key.get(), TEXT(".X/%"), nullptr, &type, read, &size), 0);
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
    EXPECT_TRUE(std::equal(read, read + 3, bytes));

    describe("[session 2]\nuser = ann\n[user ann]\nprofile = C:\\Users\\ann\n");
    EXPECT_FALSE(isAutoStartSet()) << "another user has another value";
}

TEST_F(MachineTest, gateCountsWhatItCanHit) {
    SetLastError(77);
    GetCurrentProcessId();
    EXPECT_EQ(GetLastError(), 77U) << "a call that cannot fail leaves the last error";
    faults::arm({"*", 1, faults::Action::Fail, 5});
    GetCurrentProcessId();
    EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\1"), nullptr)) << "the first that can fail";
    faults::clear();
    EXPECT_EQ(faults::uses("CreateDirectoryW"), 0U);
    faults::arm({"*", 1, faults::Action::Short, 0});
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\1"), nullptr)) << "it moves no bytes";
    faults::clear();
    faults::arm({"GetCurrentProcessId", 1, faults::Action::Delay, 50});
    const auto start = std::chrono::steady_clock::now();
    GetCurrentProcessId();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}
