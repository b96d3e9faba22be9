#include "watch/FolderWatcher.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <thread>

#include "common/Handles.h"
#include "support/WatcherWindow.h"

namespace fs = std::filesystem;

namespace {

class FolderWatcherThreads : public testing::Test {
  protected:
    fs::path host(WideView name) const { return hostPath(watched / name); }
    void rename(WideView from, WideView to) const { fs::rename(host(from), host(to)); }

    const TempFolder folder;
    WatchedFolder watched{folder.path()};
};

}  // namespace

TEST_F(FolderWatcherThreads, reportsEveryKindOfFileChange) {
    const TempFolder elsewhere;
    const fs::path outside = hostPath(elsewhere / TEXT("outside.json"));
    fs::create_directory(host(TEXT("below")));
    for (const WideView name : {TEXT("old.json"), TEXT("target.json"), TEXT("a.json"), TEXT("b.json"), TEXT("c.txt"),
                                TEXT("dead.json"), TEXT("out.json"), TEXT("x.txt")})
        writeFile(watched / name, "before");
    ASSERT_TRUE(watched.startReading());
    const struct {
        const char* title;
        std::function<void()> act;
        std::string expected;
        std::string orElse = expected;  // also accepted: some systems report the replaced file as removed
    } rows[] = {{"new file", [&] { writeFile(watched / TEXT("new.json"), "{}"); }, "+new.json"},
                {"written in place", [&] { writeFile(watched / TEXT("old.json"), "after"); }, "+old.json"},
                {"renamed into place",
                 [&] {
                     writeFile(watched / TEXT("target.json.tmp"), "after");
                     MoveFileExW((watched / TEXT("target.json.tmp")).c_str(), (watched / TEXT("target.json")).c_str(),
                                 MOVEFILE_REPLACE_EXISTING);
                 },
                 "+target.json", "-target.json +target.json"},
                {"renamed", [&] { rename(TEXT("a.json"), TEXT("a2.json")); }, "-a.json +a2.json"},
                {"renamed away from .json", [&] { rename(TEXT("b.json"), TEXT("b.txt")); }, "-b.json"},
                {"renamed to .json", [&] { rename(TEXT("c.txt"), TEXT("c.json")); }, "+c.json"},
                {"deleted", [&] { fs::remove(host(TEXT("dead.json"))); }, "-dead.json"},
                {"moved out", [&] { fs::rename(host(TEXT("out.json")), outside); }, "-out.json"},
                {"moved in", [&] { fs::rename(outside, host(TEXT("in.json"))); }, "+in.json"},
                {"in capitals", [&] { writeFile(watched / TEXT("NOTE.JSON"), "{}"); }, "+NOTE.JSON"},
                {"not ASCII", [&] { writeFile(watched / TEXT("\u017e\u00e4.json"), "{}"); }, "+\xC5\xBE\xC3\xA4.json"},
                {"no extension", [&] { writeFile(watched / TEXT(".json"), "{}"); }, ""},
                {"another extension", [&] { writeFile(watched / TEXT("x.txt"), "{}"); }, ""},
                {"in a folder below", [&] { writeFile(watched / TEXT("below\\n.json"), "{}"); }, ""}};
    for (const auto& row : rows) {
        row.act();
        const std::string told = watched.changes();
        EXPECT_TRUE(told == row.expected || told == row.orElse) << row.title << ": " << told;
    }
}

TEST_F(FolderWatcherThreads, secondStartFailsAndTheFirstKeepsRunning) {
    const TempFolder other;
    ASSERT_TRUE(watched.startReading());
    WatcherWindow elsewhere;
    EXPECT_FALSE(watched.watcher.start(other.path(), elsewhere.handle()));
    writeFile(other / TEXT("wrong.json"), "{}");
    writeFile(watched / TEXT("right.json"), "{}");
    EXPECT_EQ(watched.changes(), "+right.json");
    EXPECT_TRUE(elsewhere.take().empty());
}

TEST_F(FolderWatcherThreads, stoppedWatcherIsSilentAndCanStartAgain) {
    watched.watcher.stop();
    ULONGLONG stopping = 0;
    for (int round = 0; round < 4; ++round) {
        ASSERT_TRUE(watched.startReading());
        const ULONGLONG before = GetTickCount64();
        watched.watcher.stop();
        stopping += GetTickCount64() - before;
        watched.watcher.stop();
    }
    EXPECT_LT(stopping, 4 * 1000U) << "a pending read that is not cancelled is waited for, a second each time";
    writeFile(watched / TEXT("unseen.json"), "{}");
    ASSERT_TRUE(watched.startReading());
    EXPECT_EQ(watched.changes(), "") << "nothing of the time in between";
}

TEST_F(FolderWatcherThreads, stopsDuringABurstOfChanges) {
    ASSERT_TRUE(watched.startReading());
    std::atomic<bool> enough = false;
    std::thread writer([&] {
        for (int i = 0; !enough; ++i)
            writeFile(watched / wide("n" + std::to_string(i % 50) + ".json"), "{}");
    });
    EXPECT_TRUE(eventually([&] { return watched.window.take().size() > 20; }));
    const ULONGLONG before = GetTickCount64();
    watched.watcher.stop();
    EXPECT_LT(GetTickCount64() - before, 4000U) << "not by giving up";
    watched.window.take();
    const bool wasSilent = watched.window.take().empty();
    enough = true;
    writer.join();
    EXPECT_TRUE(wasSilent && watched.window.take().empty());
}

TEST_F(FolderWatcherThreads, watchesAFolderThatIsCreatedLater) {
    WatchedFolder later(folder / TEXT("later"));
    ASSERT_TRUE(later.start());
    fs::create_directory(hostPath(folder / TEXT("later")));
    EXPECT_TRUE(later.isReading());
    EXPECT_TRUE(MoveFileExW((folder / TEXT("later")).c_str(), (folder / TEXT("moved")).c_str(), 0))
        << "nobody is kept from renaming or deleting a folder that is watched";
}

TEST_F(FolderWatcherThreads, freesTextThatCannotBePosted) {
    auto window = std::make_unique<WatcherWindow>();
    const HWND gone = window->handle();
    FolderWatcher dead;
    ASSERT_TRUE(dead.start(folder.path(), gone));
    window.reset();
    EXPECT_FALSE(postText(gone, WM_APP_FILE_ADDED, TEXT("nowhere")));
    ASSERT_TRUE(watched.startReading()) << "another watcher of the same folder";
    EXPECT_EQ(watched.changes(), "");
}

// Writes no more files than fit into the message queue, even if each file causes several messages.
TEST_F(FolderWatcherThreads, reportsEveryFileThatRemainsAfterABurst) {
    const fs::path place = hostPath(folder.path());
    ASSERT_TRUE(watched.startReading());
    std::set<std::string> expected, seen;
    for (int i = 0; i < 2000; ++i)
        if (i % 10 != 9) expected.insert(watched.added(wide(std::to_string(i) + ".json")));
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i) {
            const fs::path file = place / (std::to_string(i) + ".json");
            std::ofstream(file) << "{}";
            if (i % 10 == 9) fs::remove(file);
        }
    });
    EXPECT_TRUE(watched.window.awaitsAll(expected, seen)) << seen.size();
    writer.join();
}
