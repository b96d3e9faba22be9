// Notes on a machine where everything fails once: the old file or the new one stands, whole.
#include <sys/wait.h>
#include <unistd.h>

#include "machine/MachineFixture.h"
#include "notes/FileIo.h"
#include "notes/Json.h"
#include "notes/Text.h"
#include "support/Eventually.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace platform;
using faults::Action;

namespace {

const WCHAR* const kPath = TEXT("C:\\note.json");
const WCHAR* const kTemporary = TEXT("C:\\note.json.tmp");
const std::string kOld(70000, 'o'), kNew(200000, 'n');  // more than one write each

bool isWhole(const std::string& bytes) {
    return bytes == kOld || bytes == kNew;
}

// Does the work on another thread; `meanwhile` runs while its first use of the call is held.
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

TEST_F(MachineTest, failedSaveLeavesTheOldNoteAndNoTemporaryFile) {
    bool saved = false;
    unsigned runs = 0;
    writeFile(kPath, kOld);
    forEachFailingCall([&] { saved = writeFileAtomic(kPath, kNew); },
                       [&](bool) {
                           ++runs;
                           EXPECT_EQ(readFile(kPath) == kNew, saved);
                           EXPECT_TRUE(isWhole(readFile(kPath)));
                           EXPECT_FALSE(exists(kTemporary));
                           writeFile(kPath, kOld);
                       });
    EXPECT_GT(runs, 6U) << "open, four writes, flush, close, move";
}

TEST_F(MachineTest, saveThatIsKilledAtAnyCallLeavesOneWholeNote) {
    unsigned deaths = 0;
    for (unsigned use = 1; use < 100; ++use) {
        writeFile(kPath, kOld);
        std::filesystem::remove(hostPath(kTemporary));
        const pid_t child = fork();
        if (child == 0) {
            faults::clear();
            faults::arm({"*", use, Action::Kill, 0});
            writeFileAtomic(kPath, kNew);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(isWhole(readFile(kPath))) << "killed at call " << use;
        if (!WIFSIGNALED(status)) break;
        ++deaths;
        // What is left behind does not keep the next save from working.
        EXPECT_TRUE(writeFileAtomic(kPath, kNew)) << use;
        EXPECT_TRUE(readFile(kPath) == kNew);
    }
    EXPECT_GE(deaths, 7U);
}

TEST_F(MachineTest, writesThatDeliverShortAddUp) {
    faults::arm({"WriteFile", 0, Action::Short, 777});
    EXPECT_TRUE(writeFileAtomic(kPath, kNew));
    faults::clear();
    EXPECT_TRUE(readFile(kPath) == kNew);

    faults::arm({"WriteFile", 2, Action::Short, 0});
    EXPECT_FALSE(writeFileAtomic(kPath, kOld)) << "a write of nothing is a failed one";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_WRITE_FAULT});
    faults::clear();
    EXPECT_TRUE(readFile(kPath) == kNew);
    EXPECT_FALSE(exists(kTemporary));
    EXPECT_EQ(faults::uses("WriteFile"), 0U);
}

TEST_F(MachineTest, writesAreOf64KiBByOneAloneAndOnDiskInTheEnd) {
    faults::clear();
    takeExclusiveOpenings();
    EXPECT_TRUE(writeFileAtomic(kPath, kNew));
    EXPECT_EQ(faults::uses("WriteFile"), 4U);
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    EXPECT_EQ(faults::uses("MoveFileExW: write through"), 1U);
    EXPECT_EQ(takeExclusiveOpenings(), "+note.json.tmp -note.json.tmp");
    for (const std::size_t pieces : {2U, 1U, 0U}) {
        faults::clear();
        EXPECT_TRUE(writeFileAtomic(kPath, std::string(pieces * 65536, 'x')));
        EXPECT_EQ(faults::uses("WriteFile"), pieces);
    }
}

TEST_F(MachineTest, flushThatFailsIsNoFailedSaveAndACleanUpThatFailsIsOne) {
    writeFile(kPath, kOld);
    faults::arm({"FlushFileBuffers", 1, Action::Fail, 1});
    EXPECT_TRUE(writeFileAtomic(kPath, kNew));
    EXPECT_TRUE(readFile(kPath) == kNew);
    faults::clear();
    faults::arm({"MoveFileExW", 1, Action::Fail, 5});
    faults::arm({"DeleteFileW", 1, Action::Fail, 32});
    EXPECT_FALSE(writeFileAtomic(kPath, kOld));
    EXPECT_EQ(GetLastError(), 5U);
    EXPECT_TRUE(readFile(kPath) == kNew);
    EXPECT_TRUE(readFile(kTemporary) == kOld) << "the one case in which it stays";
}

TEST_F(MachineTest, readsDeliverAllOrNothing) {
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

TEST_F(MachineTest, readerSharesTheFileButNotItsName) {
    writeFile(kPath, kNew);
    std::string bytes, same;
    whileHeld(
        "ReadFile", [&] { EXPECT_TRUE(readFileBytes(kPath, bytes)); },
        [&] {
            EXPECT_TRUE(readFileBytes(kPath, same));
            EXPECT_FALSE(deleteFile(kPath));
            EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
        });
    EXPECT_TRUE(bytes == kNew && same == kNew);
}

TEST_F(MachineTest, damagedDocumentIsNotInMemoryTwice) {
    JsonValue value;
    whileHeld(
        "MultiByteToWideChar", [&] { EXPECT_FALSE(parseJsonUtf8("[[1],[2],x", value, nullptr)); },
        [&] { EXPECT_EQ(value.kind, JsonKind::Null) << "what the way over bytes had built"; });
}

TEST_F(MachineTest, conversionThatFailsGivesNoText) {
    faults::arm({"MultiByteToWideChar", 2, Action::Fail, 8});
    EXPECT_TRUE(utf8ToWide("abc").empty());
    faults::clear();
    faults::arm({"MultiByteToWideChar", 1, Action::Fail, 8});
    EXPECT_EQ(utf8(utf8ToWide("abc")), "abc") << "the strict question is only the first";
    faults::clear();
    for (const unsigned use : {1U, 2U}) {
        faults::arm({"WideCharToMultiByte", use, Action::Fail, 8});
        EXPECT_TRUE(wideToUtf8(TEXT("abc")).empty());
        faults::clear();
    }
    EXPECT_TRUE(wideToUtf8(WideView()).empty());
    EXPECT_EQ(faults::uses("WideCharToMultiByte"), 0U) << "nothing to convert, nobody to ask";
}
