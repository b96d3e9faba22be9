// Reading and saving notes while each call fails in turn: the file must hold the old note or the new one, complete.

#include "machine/support/MachineFixture.h"
#include "notes/FileIo.h"
#include "notes/Json.h"
#include "notes/Text.h"

using namespace platform;
using faults::Action;

namespace {

using NoteFileFaults = MachineTest;

const WCHAR* const kPath = TEXT("C:\\note.json");
const WCHAR* const kTemporary = TEXT("C:\\note.json.tmp");
const std::string kOld(70000, 'o'), kNew(200000, 'n');  // each needs more than one write

// Runs `work` on another thread and holds its first use of the call. Runs `meanwhile`, then lets the call continue.
template <typename Work, typename Meanwhile>
void whileHeld(const char* call, Work work, Meanwhile meanwhile) {
    faults::arm({call, 1, Action::Hold});
    std::thread thread(work);
    EXPECT_TRUE(eventually([] { return faults::fired(); })) << call;
    meanwhile();
    faults::clear();
    thread.join();
}

}  // namespace

TEST_F(NoteFileFaults, failedSaveKeepsTheOldNoteAndNoTemporaryFile) {
    bool saved = false;
    writeFile(kPath, kOld);
    const auto check = [&](bool) {
        EXPECT_TRUE(readFile(kPath) == (saved ? kNew : kOld));
        EXPECT_FALSE(exists(kTemporary));
        writeFile(kPath, kOld);
    };
    EXPECT_GT(forEachFailingCall([&] { saved = writeFileAtomic(kPath, kNew); }, check), 5U)
        << "open, four writes, flush, close, move";
}

TEST_F(NoteFileFaults, saveKilledAtAnyCallLeavesOneCompleteNote) {
    unsigned runs = 0;
    const auto prepare = [&] {
        ++runs;
        writeFile(kPath, kOld);
        fs::remove(hostPath(kTemporary));
    };
    const auto check = [&] {
        const std::string left = readFile(kPath);
        EXPECT_TRUE(left == kOld || left == kNew);
        EXPECT_TRUE(writeFileAtomic(kPath, kNew)) << "what is left behind does not keep the next save from working";
        EXPECT_TRUE(readFile(kPath) == kNew);
    };
    forEachKilledCall(
        prepare, [] { return 0; }, [](int) { writeFileAtomic(kPath, kNew); }, check);
    EXPECT_GT(runs, 7U);
}

TEST_F(NoteFileFaults, continuesAfterShortWritesAndFailsAfterAnEmptyOne) {
    faults::arm({"WriteFile", 0, Action::Short, 777});
    EXPECT_TRUE(writeFileAtomic(kPath, kNew));
    EXPECT_TRUE(readFile(kPath) == kNew);
    faults::clear();
    faults::arm({"WriteFile", 2, Action::Short, 0});
    EXPECT_EQ(errorAfter(writeFileAtomic(kPath, kOld)), ERROR_WRITE_FAULT);
    EXPECT_TRUE(readFile(kPath) == kNew);
    EXPECT_FALSE(exists(kTemporary));
}

TEST_F(NoteFileFaults, savesInPiecesOf64KiBThroughATemporaryFile) {
    takeExclusiveOpenings();
    for (const std::size_t bytes : {200000U, 131072U, 65536U, 0U}) {
        faults::clear();
        EXPECT_TRUE(writeFileAtomic(kPath, std::string(bytes, 'x')));
        EXPECT_EQ(faults::uses("WriteFile"), (bytes + 65535) / 65536);
        EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
        EXPECT_EQ(faults::uses("MoveFileExW: write through"), 1U);
        EXPECT_EQ(takeExclusiveOpenings(), "+note.json.tmp -note.json.tmp");
    }
}

TEST_F(NoteFileFaults, saveSucceedsEvenIfTheFlushFails) {
    EXPECT_TRUE(whileFailing("FlushFileBuffers", 1, 1, [] { return writeFileAtomic(kPath, kNew); }));
    EXPECT_TRUE(readFile(kPath) == kNew);
}

TEST_F(NoteFileFaults, temporaryFileThatCannotBeRemovedStays) {
    writeFile(kPath, kNew);
    failCall("MoveFileExW", 1, ERROR_ACCESS_DENIED);
    failCall("DeleteFileW", 1, ERROR_SHARING_VIOLATION);
    EXPECT_EQ(errorAfter(writeFileAtomic(kPath, kOld)), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(readFile(kPath) == kNew && readFile(kTemporary) == kOld);
}

TEST_F(NoteFileFaults, readReturnsTheWholeFileOrNothing) {
    writeFile(kPath, kNew);
    std::string bytes;
    forEachFailingCall([&] { EXPECT_TRUE(readFileBytes(kPath, bytes) || bytes.empty()); },
                       [&](bool fired) { EXPECT_TRUE(bytes.empty() ? fired : bytes == kNew); });
    faults::arm({"ReadFile", 0, Action::Short, 999});
    EXPECT_TRUE(readFileBytes(kPath, bytes));
    EXPECT_TRUE(bytes == kNew);
    faults::clear();
    faults::arm({"ReadFile", 2, Action::Short, 0});
    faults::arm({"ReadFile", 1, Action::Short, 999});
    EXPECT_TRUE(readFileBytes(kPath, bytes)) << "a file that shrinks while it is read";
    EXPECT_EQ(bytes.size(), 999U);
}

TEST_F(NoteFileFaults, readerAllowsOtherReadersButNoDeletion) {
    writeFile(kPath, kNew);
    std::string bytes, same;
    whileHeld(
        "ReadFile", [&] { EXPECT_TRUE(readFileBytes(kPath, bytes)); },
        [&] {
            EXPECT_TRUE(readFileBytes(kPath, same));
            EXPECT_EQ(errorAfter(deleteFile(kPath)), ERROR_SHARING_VIOLATION);
        });
    EXPECT_TRUE(bytes == kNew && same == kNew);
}

TEST_F(NoteFileFaults, partialResultIsFreedBeforeTheSecondParse) {
    JsonValue value;
    whileHeld(
        "MultiByteToWideChar", [&] { EXPECT_FALSE(parseJsonUtf8("[[1],[2],x", value, nullptr)); },
        [&] { EXPECT_EQ(value.kind, JsonKind::Null) << "what the way over bytes had built"; });
}

TEST_F(NoteFileFaults, failedConversionReturnsNoText) {
    const auto widened = [] { return utf8(utf8ToWide("abc")); };
    const auto narrowed = [] { return wideToUtf8(TEXT("abc")); };
    EXPECT_EQ(whileFailing("MultiByteToWideChar", 2, ERROR_NOT_ENOUGH_MEMORY, widened), "");
    EXPECT_EQ(whileFailing("MultiByteToWideChar", 1, ERROR_NOT_ENOUGH_MEMORY, widened), "abc")
        << "the strict question is only the first";
    for (const unsigned use : {1U, 2U})
        EXPECT_EQ(whileFailing("WideCharToMultiByte", use, ERROR_NOT_ENOUGH_MEMORY, narrowed), "");
    EXPECT_TRUE(wideToUtf8(WideView()).empty());
    EXPECT_EQ(faults::uses("WideCharToMultiByte"), 0U) << "an empty text needs no call";
}
