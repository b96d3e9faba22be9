// Every single call failing in turn.
#include <windows.h>

#include "common/AutoStart.h"
#include "common/Folders.h"
#include "common/Identity.h"
#include "common/Logger.h"
#include "machine/MachineFixture.h"
#include "support/Files.h"
#include "support/Text.h"

namespace fs = std::filesystem;
using namespace platform;

namespace {

std::string autoStartWithError() {
    const bool written = setAutoStart(TEXT("x"));
    return std::to_string(written) + std::to_string(GetLastError());
}

}  // namespace

TEST_F(MachineTest, folderTreeIsMadeOrTheAnswerIsNo) {
    const fs::path top = folder() / "drive_c/tree";
    bool made = false;
    forEachFailingCall([&] { made = createDirectoryTree(TEXT("C:\\tree\\a\\b")); },
                       [&](bool fired) {
                           EXPECT_EQ(made, fs::is_directory(top / "a/b"));
                           EXPECT_TRUE(made || fired);
                           fs::remove_all(top);
                       });

    // Another process is faster at the last folder.
    fs::create_directories(top / "a/b");
    faults::arm({"GetFileAttributesW", 1, faults::Action::Fail, ERROR_FILE_NOT_FOUND});
    EXPECT_TRUE(createDirectoryTree(TEXT("C:\\tree\\a\\b")));
    faults::clear();
    // It is there, and cannot be looked at.
    faults::arm({"GetFileAttributesW", 0, faults::Action::Fail, ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(createDirectoryTree(TEXT("C:\\tree")));
    faults::clear();
    // A file is.
    fs::remove_all(top / "a/b");
    std::ofstream(top / "a/b") << "file";
    faults::arm({"GetFileAttributesW", 1, faults::Action::Fail, ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(createDirectoryTree(TEXT("C:\\tree\\a\\b")));
}

TEST_F(MachineTest, logNeverStopsTheProgram) {
    const fs::path logs = folder() / "drive_c/ProgramData/OmbrelService_Common";
    bool opened = false;
    forEachFailingCall(
        [&] {
            opened = logOpen(LogLevel::Info, nullptr);
            logWrite(LogLevel::Info, TEXT("App"), TEXT("line %d"), 1);
            logClose();
        },
        [&](bool fired) {
            const std::string text = opened ? readFile(logPath()) : std::string();
            EXPECT_TRUE(text.empty() || text.ends_with("\r\n")) << text;
            EXPECT_TRUE(fired || text.ends_with("App: line 1\r\n")) << text;
            // The debugger hears the line in every case.
            ASSERT_EQ(notices::takeDebugOutput().size(), 1U);
            fs::remove_all(logs);
        });
}

TEST_F(MachineTest, rotationThatFailsKeepsEveryLineThatWasWritten) {
    const fs::path logs = folder() / "drive_c/ProgramData/OmbrelService_Common";
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const WideString path = logPath(), older = path + TEXT(".1");
    logClose();
    forEachFailingCall(
        [&] {
            writeFile(path, std::string(1048570, 'f'));
            writeFile(older, "old");
            logOpen(LogLevel::Info, nullptr);
            logWrite(LogLevel::Info, TEXT("App"), TEXT("full"));
            logWrite(LogLevel::Info, TEXT("App"), TEXT("next"));
            logClose();
        },
        [&](bool) {
            const std::string now = readFile(path), before = readFile(older);
            EXPECT_GE(now.size() + before.size(), 1048570U) << "the filled file is there under one of its names";
            notices::takeDebugOutput();
        });
}

TEST_F(MachineTest, formatterThatGivesUpEarlyIsMarked) {
    const WideString format(1999, TEXT('m'));
    for (const std::size_t written : {5U, 1995U, 1996U, 1998U}) {
        ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
        // The first text of a line is its timestamp, the second the message; so many units of it are carried out.
        faults::arm({"vsnwprintf", 2, faults::Action::Short, static_cast<DWORD>(written)});
        logWrite(LogLevel::Info, TEXT("App"), format.c_str());
        faults::clear();
        const std::string mark = written + 4 < 2000 ? "..." : "";
        EXPECT_TRUE(readFile(logPath()).ends_with("[INFO ] App: " + std::string(written, 'm') + mark + "\r\n"))
            << written;
        logClose();
    }
    faults::arm({"vsnwprintf", 1, faults::Action::Short, 5});
    EXPECT_EQ(utf8(newGuidText()), "") << "no text is better than half an identifier";
}

TEST_F(MachineTest, oneLineIsOneWriteAndADroppedLineIsNothing) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 0U);
    logWrite(LogLevel::Info, TEXT("App"), TEXT("x"));
    EXPECT_EQ(faults::uses("WriteFile"), 1U) << "one line, one write";
    logWrite(LogLevel::Debug, TEXT("App"), TEXT("dropped"));
    EXPECT_EQ(faults::uses("GetSystemTime"), 1U) << "a dropped line formats nothing";
    logClose();
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    logClose();
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
}

TEST_F(MachineTest, smallOperationsFailAsDocumented) {
    const struct {
        const char* call;
        std::string (*result)();
        const char* expected;
    } rows[] = {
        {"CoCreateGuid", [] { return utf8(newGuidText()); }, ""},
        {"GetUserNameW", [] { return utf8(currentUserName()); }, ""},
        {"GetModuleFileNameW", [] { return utf8(executablePath()); }, ""},
        {"SHGetKnownFolderPath", [] { return utf8(defaultNotesFolder()); }, ""},
        {"RegCreateKeyExW", autoStartWithError, "077"},
        {"RegSetValueExW", autoStartWithError, "077"},
        {"RegOpenKeyExW", [] { return std::to_string(clearAutoStart()); }, "1"},
        {"RegDeleteValueW", [] { return std::to_string(clearAutoStart()); }, "1"},
        {"RegOpenKeyExW", [] { return std::to_string(isAutoStartSet()); }, "0"},
        {"RegQueryValueExW", [] { return std::to_string(isAutoStartSet()); }, "0"},
    };
    setAutoStart(TEXT("x"));
    for (const auto& row : rows) {
        const std::size_t handles = faults::openHandles(), memory = faults::openAllocations();
        faults::arm({row.call, 1, faults::Action::Fail, 77});
        EXPECT_EQ(row.result(), row.expected) << row.call;
        EXPECT_TRUE(faults::fired()) << row.call;
        faults::clear();
        EXPECT_EQ(faults::openHandles(), handles) << row.call;
        EXPECT_EQ(faults::openAllocations(), memory) << row.call;
        setAutoStart(TEXT("x"));
    }
}
