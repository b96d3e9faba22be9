// The folder watcher on the stand-in: vanishing folders, lost changes, failing calls, and a clock that the test moves.

#include <atomic>
#include <functional>
#include <memory>
#include <set>

#include "core/Waiting.h"
#include "machine/support/MachineFixture.h"
#include "support/WatcherWindow.h"

using namespace platform;

namespace {

class WatcherFaultsThreads : public MachineTest {
  protected:
    WatcherFaultsThreads() {
        fs::create_directory(place);
        forgetLog();
    }
    ~WatcherFaultsThreads() override {
        faults::clear();
        clock::useRealTime();
    }

    // How many log lines with this text were written since forgetLog.
    std::size_t logged(const std::string& text) {
        for (const std::u16string& line : notices::takeDebugOutput())
            log += utf8(line);
        std::size_t count = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
            ++count;
        return count;
    }
    bool awaitsLog(const std::string& text) {
        return eventually([&] { return logged(text) > 0; });
    }
    void forgetLog() {
        logged("");
        log.clear();
    }
    void write(const std::string& name) const { std::ofstream(place / name) << "{}"; }

    // Holds the worker before the read that follows the next change. A read is pending if there was one more wait than
    // results.
    static void holdNextRead() {
        ASSERT_TRUE(eventually(
            [] { return faults::uses("WaitForMultipleObjects") == faults::uses("GetOverlappedResult") + 1; }));
        faults::arm({"ReadDirectoryChangesW", 1, faults::Action::Hold});
    }
    // Passes a second that some thread waits for, and checks that it waits for exactly a second.
    static void passSecond() {
        ASSERT_TRUE(eventually(waiting::isTimeAwaited));
        clock::advance(999);
        EXPECT_TRUE(waiting::isTimeAwaited());
        clock::advance(1);
    }
    // Starts the watcher while the call fails. Checks that it tries at once and then each second.
    void tryEachSecond(const char* call) {
        const unsigned failed = faults::uses(call), opened = faults::uses("CreateFileW");
        ASSERT_TRUE(watched.start());
        for (unsigned tries = 1; tries <= 4; ++tries) {
            if (tries > 1) passSecond();
            ASSERT_TRUE(eventually([&] {
                write("a.json");
                return faults::uses(call) == failed + tries;
            }));
            EXPECT_EQ(faults::uses("CreateFileW"), opened + tries);
        }
    }
    // Moves the clock in steps of half a second until the condition is true. Returns the milliseconds moved, or -1.
    int advanceUntil(const std::function<bool()>& condition) const {
        for (int moved = 0;; moved += 500) {
            if (eventually(condition, std::chrono::milliseconds(20))) return moved;
            if (moved == 60000) return -1;
            clock::advance(500);
        }
    }

    // Starts the watcher, causes a change, and stops the watcher. Returns whether it started.
    bool runOnce() {
        const bool started = watched.start();
        advanceUntil([&] {
            write("a.json");
            return !started || !watched.window.take().empty() || logged("Worker stopped") > 0;
        });
        std::atomic<bool> stopped = false;
        std::thread stopper([&] {
            watched.watcher.stop();
            stopped = true;
        });
        EXPECT_GE(advanceUntil([&] { return stopped.load(); }), 0);
        stopper.join();
        return started;
    }

    const fs::path place = folder() / "drive_c/notes";
    WatchedFolder watched{TEXT("C:\\notes")};
    std::string log;
};

constexpr const char* kNotFound = "Watcher: Cannot open folder C:\\notes (err=2); will keep retrying\r\n";
constexpr const char* kReachable = "Watcher: Folder reachable again: C:\\notes\r\n";

}  // namespace

TEST_F(WatcherFaultsThreads, outageIsLoggedOnceAndRetriedEachSecond) {
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"CreateFileW", "Watcher: Cannot open folder C:\\notes (err=50); will keep retrying\r\n", false},
        {"ReadDirectoryChangesW", "Watcher: ReadDirectoryChangesW failed (err=50); reopening directory\r\n", true},
        {"GetOverlappedResult", "Watcher: GetOverlappedResult failed (err=50); reopening directory\r\n", true},
        {"WaitForMultipleObjects", "", true}};
    for (const auto& [call, warning, isListed] : rows) {
        SCOPED_TRACE(call);
        forgetLog();
        clock::set(1'000'000);
        failCall(call, 0, 50);
        tryEachSecond(call);
        const std::size_t warnings = *warning == 0 ? 0 : 1;
        EXPECT_EQ(logged("WARN"), warnings);
        EXPECT_TRUE(has(log, warning)) << log;
        ASSERT_TRUE(eventually(waiting::isTimeAwaited));
        write("meanwhile.json");
        faults::clear();
        passSecond();
        if (isListed) {
            passSecond();  // a read counts as working after it was pending that long
            EXPECT_TRUE(watched.window.awaits(watched.added(TEXT("meanwhile.json"))));
        }
        EXPECT_TRUE(watched.isReading());
        watched.watcher.stop();
        EXPECT_EQ(logged(kReachable), warnings);
        EXPECT_EQ(logged("Watcher: Worker stopped\r\n"), 1U);
    }
}

TEST_F(WatcherFaultsThreads, watchesAFolderAgainAfterItIsRecreated) {
    write("a.json");
    clock::set(1'000'000);
    ASSERT_TRUE(watched.startReading());
    for (int outage = 1; outage <= 2; ++outage) {
        forgetLog();
        fs::remove_all(place);
        EXPECT_TRUE(awaitsLog("failed (err=5); reopening directory\r\n"));
        passSecond();
        EXPECT_TRUE(awaitsLog(kNotFound));
        ASSERT_TRUE(eventually(waiting::isTimeAwaited));
        fs::create_directory(place);
        write("unseen.json");
        passSecond();
        passSecond();
        EXPECT_TRUE(awaitsLog(kReachable));
        EXPECT_EQ(logged("WARN"), 2U) << "each of the two once for each outage";
        ASSERT_TRUE(watched.isReading());
        EXPECT_EQ(watched.changes(), "");
        EXPECT_EQ(logged(kReachable), 1U);
    }
}

TEST_F(WatcherFaultsThreads, lostChangesAreFoundByListingTheFolder) {
    ASSERT_TRUE(watched.startReading());
    holdNextRead();
    write("first.json");
    ASSERT_TRUE(eventually([] { return faults::fired(); }));
    std::set<std::string> expected = {"+C:\\notes\\first.json"}, seen;
    for (int i = 0; i < 3000; ++i) {
        write("n" + std::to_string(i) + ".json");
        expected.insert("+C:\\notes\\n" + std::to_string(i) + ".json");
    }
    fs::create_directory(place / "folder.json");
    write("x.txt");
    fs::remove(place / "n7.json");
    expected.erase("+C:\\notes\\n7.json");
    watched.window.take();
    faults::disarm("ReadDirectoryChangesW");
    ASSERT_TRUE(awaitsLog("Watcher: Change buffer overflowed; re-enumerating folder\r\n"));
    EXPECT_TRUE(watched.window.awaitsAll(expected, seen));
    // After the listing, only late messages about the same files may come.
    write("mark.json");
    expected.insert("+C:\\notes\\mark.json");
    EXPECT_TRUE(watched.window.awaitsAll(expected, seen));
    EXPECT_EQ(seen, expected);
}

TEST_F(WatcherFaultsThreads, stopWaitsForTheCurrentBatch) {
    constexpr unsigned kFiles = 20;
    ASSERT_TRUE(watched.startReading());
    holdNextRead();
    std::ofstream(place / "first.json").flush();  // an empty file causes one change, not two
    ASSERT_TRUE(eventually([] { return faults::fired(); }));
    for (unsigned i = 0; i < kFiles; ++i)
        fs::create_hard_link(place / "first.json", place / ("n" + std::to_string(i) + ".json"));
    watched.window.take();
    faults::arm({"PostMessageW", 3, faults::Action::Hold});
    const unsigned posts = faults::uses("PostMessageW"), signals = faults::uses("SetEvent");
    faults::disarm("ReadDirectoryChangesW");
    ASSERT_TRUE(eventually([&] { return faults::uses("PostMessageW") == posts + 3; }));
    std::thread stopper([&] { watched.watcher.stop(); });
    ASSERT_TRUE(eventually([&] { return faults::uses("SetEvent") > signals; }));
    faults::disarm("PostMessageW");
    stopper.join();
    EXPECT_EQ(watched.window.take().size(), kFiles);
    EXPECT_EQ(logged("Watcher: Worker stopped\r\n"), 1U);
}

TEST_F(WatcherFaultsThreads, workerThatOutlivesTheStopUsesNoFreedMemory) {
    const std::size_t handles = faults::openHandles();
    auto watcher = std::make_unique<FolderWatcher>();
    ASSERT_TRUE(watcher->start(TEXT("C:\\notes"), watched.window.handle()));
    ASSERT_TRUE(eventually([&] {
        write("a.json");
        return !watched.window.take().empty();
    }));
    clock::set(1'000'000);
    faults::arm({"PostMessageW", 1, faults::Action::Hold});
    write("b.json");
    ASSERT_TRUE(eventually([] { return faults::fired(); }));
    std::atomic<bool> gone = false;
    std::thread owner([&] {
        watcher.reset();
        gone = true;
    });
    EXPECT_TRUE(eventually(waiting::isTimeAwaited));
    clock::advance(4999);
    EXPECT_TRUE(waiting::isTimeAwaited() && !gone) << "five seconds of patience";
    clock::advance(1);
    owner.join();
    faults::disarm("PostMessageW");
    EXPECT_TRUE(awaitsLog("Watcher: Worker stopped\r\n"));
    EXPECT_TRUE(eventually([&] { return faults::openHandles() == handles; }));
}

TEST_F(WatcherFaultsThreads, workerWithoutAReadEventEnds) {
    failCall("CreateEventW", 2, ERROR_NOT_ENOUGH_MEMORY);
    ASSERT_TRUE(watched.start());
    EXPECT_TRUE(awaitsLog("Watcher: Worker stopped\r\n"));
    EXPECT_EQ(logged("WARN"), 0U);
    EXPECT_FALSE(watched.start()) << "the thread is over, and stays the watcher's until it is stopped";
    watched.watcher.stop();
    faults::clear();
    EXPECT_TRUE(watched.startReading());
}

TEST_F(WatcherFaultsThreads, losesOnlyTheMessageThatCannotBePosted) {
    ASSERT_TRUE(watched.startReading());
    failCall("PostMessageW", 1, ERROR_NOT_ENOUGH_QUOTA);
    write("a.txt");
    fs::rename(place / "a.txt", place / "lost.json");
    ASSERT_TRUE(eventually([] { return faults::fired(); }));
    write("next.json");
    EXPECT_EQ(watched.changes(), "+next.json");
}

// All calls except SetEvent: without it the worker never learns that it must stop.
TEST_F(WatcherFaultsThreads, failingCallLeavesNoHandleOpen) {
    const std::size_t handles = faults::openHandles();
    clock::set(1'000'000);
    for (const std::string call :
         {"CreateEventW", "_beginthreadex", "WaitForSingleObject", "CreateFileW", "ResetEvent", "ReadDirectoryChangesW",
          "WaitForMultipleObjects", "GetOverlappedResult", "PostMessageW", "CancelIoEx", "CloseHandle"})
        for (unsigned use = 1; use <= 3; ++use) {
            SCOPED_TRACE(call + std::to_string(use));
            failCall(call.c_str(), use, 1234);
            const bool isOfTheStart = use == 1 && (call == "_beginthreadex" || call == "CreateEventW");
            EXPECT_EQ(runOnce(), !isOfTheStart);
            EXPECT_TRUE(eventually([&] { return faults::openHandles() == handles; }, std::chrono::seconds(5)));
            faults::clear();
            forgetLog();
        }
}

TEST_F(WatcherFaultsThreads, fullMessageQueueDoesNotBlockTheWatcher) {
    ASSERT_TRUE(watched.startReading());
    for (int i = 0; i < 12000; ++i)
        write("n" + std::to_string(i) + ".json");
    EXPECT_TRUE(watched.isReading()) << "what did not fit into the queue is lost";
}
