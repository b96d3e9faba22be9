// Folders, identity and the auto-start value while calls fail.

#include "common/AutoStart.h"
#include "common/Folders.h"
#include "common/Identity.h"
#include "machine/support/MachineFixture.h"

using namespace platform;

namespace {

using CommonFaults = MachineTest;

std::string autoStartWithError() {
    const bool written = setAutoStart(TEXT("x"));
    return std::to_string(written) + std::to_string(GetLastError());
}

}  // namespace

TEST_F(CommonFaults, folderTreeIsCompleteOrTheCallFails) {
    const fs::path top = folder() / "drive_c/tree";
    bool made = false;
    const auto check = [&](bool fired) {
        EXPECT_EQ(made, fs::is_directory(top / "a/b"));
        EXPECT_TRUE(made || fired);
        fs::remove_all(top);
    };
    forEachFailingCall([&] { made = createDirectoryTree(TEXT("C:\\tree\\a\\b")); }, check);
}

// Another process creates the last folder, or a file, in between.
TEST_F(CommonFaults, acceptsAFolderThatAppearsMeanwhileButNotAFile) {
    const fs::path top = folder() / "drive_c/tree";
    const auto makeUnseen = [](unsigned use) {
        return whileFailing("GetFileAttributesW", use, ERROR_FILE_NOT_FOUND,
                            [] { return createDirectoryTree(TEXT("C:\\tree\\a\\b")); });
    };
    fs::create_directories(top / "a/b");
    EXPECT_TRUE(makeUnseen(1));
    EXPECT_FALSE(makeUnseen(0)) << "it cannot be looked at at all";
    fs::remove_all(top / "a/b");
    std::ofstream(top / "a/b") << "file";
    EXPECT_FALSE(makeUnseen(1));
}

TEST_F(CommonFaults, smallOperationsFailAsDocumented) {
    const std::tuple<const char*, std::function<std::string()>, const char*> rows[] = {
        {"CoCreateGuid", [] { return utf8(newGuidText()); }, ""},
        {"GetUserNameW", [] { return utf8(currentUserName()); }, ""},
        {"GetModuleFileNameW", [] { return utf8(executablePath()); }, ""},
        {"SHGetKnownFolderPath", [] { return utf8(defaultNotesFolder()); }, ""},
        {"RegCreateKeyExW", autoStartWithError, "077"},
        {"RegSetValueExW", autoStartWithError, "077"},
        {"RegOpenKeyExW", [] { return std::to_string(clearAutoStart()); }, "1"},
        {"RegDeleteValueW", [] { return std::to_string(clearAutoStart()); }, "1"},
        {"RegOpenKeyExW", [] { return std::to_string(isAutoStartSet()); }, "0"},
        {"RegQueryValueExW", [] { return std::to_string(isAutoStartSet()); }, "0"}};
    for (const auto& [call, operation, result] : rows) {
        setAutoStart(TEXT("x"));
        const std::size_t handles = faults::openHandles(), memory = faults::openAllocations();
        EXPECT_EQ(whileFailing(call, 1, 77, operation), result) << call;
        EXPECT_EQ(faults::openHandles(), handles) << call;
        EXPECT_EQ(faults::openAllocations(), memory) << call;
    }
}
