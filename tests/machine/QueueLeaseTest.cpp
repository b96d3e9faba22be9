// What a display process does in its queue: it holds it, reads, replaces and removes its notes, and cleans up.
#include <windows.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "StoreFixture.h"
#include "applet/Recovery.h"

using namespace AppletNotes;
using namespace platform;

namespace {

constexpr const WCHAR* kNote = TEXT("note_a.json");

}  // namespace

class QueueLeaseMachine : public StoreMachine {
  protected:
    QueueLeaseMachine() : store_(makeStore()), name_(ownQueue()), queue_(makeQueue(name_)) {}

    void putNote(const std::string& file, const std::string& bytes) const {
        StoreMachine::putNote(queue_, file, bytes);
    }
    QueueLease lease() const { return StoreMachine::lease(store_, name_); }
    WideString pathOf(const std::string& name) const { return context().storeRoot + TEXT("\\") + wide(name); }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(queue_))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }

    QueueStore store_;
    std::string name_;
    fs::path queue_;
};

TEST_F(QueueLeaseMachine, isForOneOfThisLogonsQueuesOnly) {
    DWORD err = 0;
    QueueLease first = lease();
    EXPECT_TRUE(first.active());
    QueueLease second;
    EXPECT_FALSE(QueueLease::open(store_, wide(name_), context().identity, second, err));
    EXPECT_EQ(err, 32U) << "displayed already";
    EXPECT_FALSE(QueueLease::open(store_, wide(name_), context().identity, first, err));
    EXPECT_EQ(err, 5U) << "one lease at a time";
    EXPECT_FALSE(QueueLease::open(QueueStore(), wide(name_), context().identity, second, err));
    EXPECT_EQ(err, 5U);

    const HANDLE lifecycle = hold(".lifecycle.lock");
    EXPECT_FALSE(QueueLease::open(store_, wide(name_), context().identity, second, err));
    EXPECT_EQ(err, 32U);
    CloseHandle(lifecycle);

    first = QueueLease();
    fs::remove(root() / ".lifecycle.lock");
    LogonIdentity other = context().identity;
    ++other.logonTime;
    for (const auto& [queue, identity] : {std::pair{wide(name_), other},
                                          {formatQueueName(other), context().identity},
                                          {wide("applet-x"), context().identity},
                                          {wide(name_), LogonIdentity()}}) {
        EXPECT_FALSE(QueueLease::open(store_, queue, identity, second, err)) << utf8(queue);
        EXPECT_EQ(err, 5U);
    }
    EXPECT_FALSE(fs::exists(root() / ".lifecycle.lock")) << "no lock is even touched";

    const std::string claimed = name_ + "-r-6F9619FF8B86D011B42D00C04FC964FF";
    makeQueue(claimed);
    EXPECT_TRUE(QueueLease::open(store_, wide(claimed), context().identity, second, err)) << err;
}

TEST_F(QueueLeaseMachine, keepsTheFolderAndOutlivesTheStoresOtherOwners) {
    QueueLease held = lease();
    store_ = QueueStore();
    const WideString path = pathOf(name_), moved = pathOf("moved");
    EXPECT_FALSE(MoveFileExW(path.c_str(), moved.c_str(), 0));
    putNote("note_a.json", "x");
    std::string bytes;
    DWORD err = 0;
    EXPECT_TRUE(held.readNote(kNote, bytes, err)) << err;
    held = QueueLease();
    EXPECT_TRUE(MoveFileExW(path.c_str(), moved.c_str(), 0)) << GetLastError();
    EXPECT_EQ(faults::openHandles(), 0U);
}

TEST_F(QueueLeaseMachine, withoutALeaseNothingIsDone) {
    QueueLease none;
    std::string bytes = "x";
    DWORD err = 0;
    EXPECT_FALSE(none.readNote(kNote, bytes, err));
    EXPECT_EQ(err, 87U);
    EXPECT_TRUE(bytes.empty());
    EXPECT_FALSE(none.updateNote(kNote, "x", err));
    EXPECT_EQ(err, 87U);
    EXPECT_FALSE(none.removeNote(kNote, err));
    EXPECT_EQ(err, 87U);
    EXPECT_FALSE(none.cleanupStartup(err));
    EXPECT_EQ(err, 6U);
}

TEST_F(QueueLeaseMachine, readsWholeNotesWithinTheirLimits) {
    const QueueLease held = lease();
    const std::pair<std::size_t, DWORD> sizes[] = {{0, 223}, {1, 0}, {2 * kMiB, 0}, {2 * kMiB + 1, 223}};
    for (const auto& [size, wanted] : sizes) {
        putNote("note_a.json", std::string(size, 'x'));
        std::string bytes = "before";
        DWORD err = 99;
        EXPECT_EQ(held.readNote(kNote, bytes, err), wanted == 0) << size;
        EXPECT_EQ(err, wanted) << size;
        EXPECT_EQ(bytes.size(), wanted == 0 ? size : 0) << size;
    }
    std::string bytes;
    DWORD err = 0;
    for (const char* name : {"note_x.json", "..\\note_a.json", "note_a-b.json", "note_a.json:x"}) {
        EXPECT_FALSE(held.readNote(wide(name), bytes, err)) << name;
        EXPECT_EQ(err, std::string(name) == "note_x.json" ? 2U : 87U) << name;
    }
    // A short read goes on; one that brings nothing ends it.
    putNote("note_a.json", "0123456789");
    faults::arm({"ReadFile", 0, faults::Action::Short, 3});
    EXPECT_TRUE(held.readNote(kNote, bytes, err));
    EXPECT_EQ(bytes, "0123456789");
    faults::clear();
    faults::arm({"ReadFile", 2, faults::Action::Short, 0});
    faults::arm({"ReadFile", 1, faults::Action::Short, 3});
    EXPECT_FALSE(held.readNote(kNote, bytes, err));
    EXPECT_EQ(err, 38U);
    faults::clear();
    // A reader does not mind the writer's lock, nor the store's.
    const HANDLE writer = hold(name_ + "\\.writer.lock"), lifecycle = hold(".lifecycle.lock");
    EXPECT_TRUE(held.readNote(kNote, bytes, err));
    EXPECT_FALSE(held.updateNote(kNote, "x", err));
    EXPECT_EQ(err, 32U);
    CloseHandle(lifecycle);
    EXPECT_FALSE(held.removeNote(kNote, err));
    EXPECT_EQ(err, 32U);
    EXPECT_FALSE(held.removeNote(TEXT("note_gone.json"), err)) << "the locks come first";
    EXPECT_EQ(err, 32U);
    CloseHandle(writer);
    EXPECT_TRUE(held.removeNote(TEXT("note_gone.json"), err));
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(held.removeNote(kNote, err));
    EXPECT_FALSE(fs::exists(queue_ / "note_a.json"));
}

TEST_F(QueueLeaseMachine, replacesANoteByAPrivateOne) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    DWORD err = 0;
    const std::string bytes = "head" + std::string(5000, 'x') + "tail";
    faults::arm({"WriteFile", 0, faults::Action::Short, 1000});
    ASSERT_TRUE(held.updateNote(kNote, bytes, err)) << err;
    faults::clear();
    EXPECT_EQ(contentOf(queue_ / "note_a.json"), bytes);
    EXPECT_EQ(fs::status(queue_ / "note_a.json").permissions(), kPrivateFile);
    EXPECT_EQ(names(), (std::vector<std::string>{".display.lock", ".writer.lock", "note_a.json"}));

    EXPECT_FALSE(held.updateNote(TEXT("note_b.json"), "new", err)) << "it makes no new note";
    EXPECT_EQ(err, 2U);
    EXPECT_FALSE(held.updateNote(kNote, "", err));
    EXPECT_EQ(err, 87U);
    EXPECT_FALSE(held.updateNote(kNote, std::string(2 * kMiB + 1, 'x'), err));
    EXPECT_EQ(err, 87U);
    faults::arm({"WriteFile", 1, faults::Action::Short, 0});
    EXPECT_FALSE(held.updateNote(kNote, "new", err));
    EXPECT_EQ(err, 29U);
    faults::clear();
    EXPECT_EQ(contentOf(queue_ / "note_a.json"), bytes);
    EXPECT_EQ(names().size(), 3U);
}

TEST_F(QueueLeaseMachine, limitsOfTheQueueHoldAtTheirEdges) {
    const QueueLease held = lease();
    DWORD err = 0;
    // Fifteen notes of 2 MiB beside the one that is replaced: 30 MiB, and 2 MiB to come.
    for (int i = 0; i < 15; ++i)
        putNote("note_" + std::to_string(i) + ".json", std::string(2 * kMiB, 'x'));
    putNote("note_a.json", "old");
    EXPECT_TRUE(held.updateNote(kNote, std::string(2 * kMiB, 'y'), err)) << err;
    putNote("note_b.json", "1");
    EXPECT_FALSE(held.updateNote(kNote, std::string(2 * kMiB, 'z'), err));
    EXPECT_EQ(err, 112U);
    EXPECT_TRUE(held.updateNote(kNote, std::string(2 * kMiB - 1, 'z'), err)) << err;
    for (const auto& entry : fs::directory_iterator(queue_))
        if (entry.path().extension() == ".json") fs::remove(entry);

    putNote("note_a.json", "old");
    for (int i = 1; i < 128; ++i)
        putNote("note_" + std::to_string(i) + ".json", "x");
    putPrivateFile(queue_ / "{stale}.tmp", "x");
    EXPECT_TRUE(held.updateNote(kNote, "new", err)) << "128 with itself";
    putPrivateFile(queue_ / "X.json", "x");
    EXPECT_FALSE(held.updateNote(kNote, "newer", err));
    EXPECT_EQ(err, 112U);
    fs::remove(queue_ / "note_1.json");
    EXPECT_TRUE(held.updateNote(kNote, "newer", err)) << "whatever the names of the others";
    fs::remove(queue_ / "note_2.json");
    fs::create_directory(queue_ / "folder.json");
    EXPECT_FALSE(held.updateNote(kNote, "newest", err));
    EXPECT_EQ(err, 112U);
    fs::remove(queue_ / "folder.json");
    fs::create_symlink(queue_ / "note_3.json", queue_ / "link.json");
    EXPECT_FALSE(held.updateNote(kNote, "newest", err));
    EXPECT_EQ(err, 112U);
    EXPECT_EQ(contentOf(queue_ / "note_a.json"), "newer");
    for (const auto& entry : fs::directory_iterator(queue_))
        if (entry.path().extension() == ".json") fs::remove(entry);

    // The note that is replaced is not counted, however its name is written.
    for (int i = 0; i < 15; ++i)
        putNote("note_" + std::to_string(i) + ".json", std::string(2 * kMiB, 'x'));
    putNote("note_a.json", std::string(2 * kMiB, 'x'));
    EXPECT_TRUE(held.updateNote(TEXT("note_A.json"), std::string(2 * kMiB, 'y'), err)) << err;
}

TEST_F(QueueLeaseMachine, temporaryPathOf260CharactersIsTooLong) {
    // The root, the queue's name of 49, the temporary name of 42, and what separates them.
    for (const std::size_t length : {259, 260}) {
        const WideString storeRoot = TEXT("C:\\") + WideString(length - 49 - 42 - 5, TEXT('x'));
        QueueStore store;
        DWORD err = 0;
        ASSERT_TRUE(store.open(storeRoot, owner(), true, err)) << err;
        const fs::path queue = fs::path(hostPath(storeRoot)) / name_;
        fs::create_directory(queue);
        chmod(queue.c_str(), 0700);
        const QueueLease held = StoreMachine::lease(store, name_);
        putPrivateFile(queue / "note_a.json", "old");
        const bool fits = length < 260;
        EXPECT_EQ(held.updateNote(kNote, "new", err), fits);
        EXPECT_EQ(err, fits ? 0U : 206U);
        EXPECT_EQ(contentOf(queue / "note_a.json"), fits ? "new" : "old");
    }
}

// Whoever takes several locks takes them in one order: recovery, lifecycle, then writer or display.
TEST_F(QueueLeaseMachine, locksAreTakenInOneOrder) {
    putNote("note_a.json", "old");
    std::vector<WideString> names;
    bool truncated = false;
    DWORD err = 0, count = 0;
    ULONGLONG bytes = 0;
    QueueLease held;
    std::string content, heldInCallback;
    WideString newName;
    const auto gone = [&](const LogonIdentity&) {
        heldInCallback = takeExclusiveOpenings();
        return OwnerState::Gone;
    };
    const std::string lifecycle = "+.lifecycle.lock", end = " -.lifecycle.lock",
                      both = lifecycle + " +.writer.lock -.writer.lock" + end;
    takeExclusiveOpenings();
    EXPECT_TRUE(store_.enumerateQueues(10, names, truncated, err));
    EXPECT_EQ(takeExclusiveOpenings(), lifecycle + end);
    EXPECT_TRUE(store_.measureQueue(wide(name_), count, bytes, err));
    EXPECT_EQ(takeExclusiveOpenings(), both);
    held = lease();
    EXPECT_EQ(takeExclusiveOpenings(), lifecycle + " +.display.lock" + end);
    EXPECT_TRUE(held.readNote(kNote, content, err));
    EXPECT_EQ(takeExclusiveOpenings(), "");
    setNextGuid({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
    EXPECT_TRUE(held.updateNote(kNote, "new", err));
    const std::string temporary = "{00000001-0002-0003-0405-060708090A0B}.tmp";
    EXPECT_EQ(takeExclusiveOpenings(),
              lifecycle + " +.writer.lock +" + temporary + " -" + temporary + " -.writer.lock" + end);
    EXPECT_TRUE(held.removeNote(kNote, err));
    EXPECT_EQ(takeExclusiveOpenings(), both);
    EXPECT_TRUE(store_.cleanupEmptyStore([&] { return heldInCallback = takeExclusiveOpenings(), DWORD{0}; }, err));
    EXPECT_EQ(heldInCallback + " " + takeExclusiveOpenings(), both) << "the lifecycle lock over the whole scan";
    held = QueueLease();
    EXPECT_EQ(takeExclusiveOpenings(), "-.display.lock");
    EXPECT_EQ(store_.claimQueue(wide(name_), context().identity, gone, newName, err), ClaimResult::Claimed);
    EXPECT_EQ(heldInCallback, lifecycle + " +.writer.lock") << "the owner is looked up under both";
    EXPECT_EQ(takeExclusiveOpenings(), "-.writer.lock" + end);
    recoverQueues(store_, context().identity, gone, [&](const WideString&) { return DWORD{0}; });
    const std::string pass = takeExclusiveOpenings();
    EXPECT_TRUE(pass.starts_with("+.recovery.lock " + lifecycle)) << pass;
    EXPECT_TRUE(pass.ends_with(end + " -.recovery.lock")) << pass;
}

// Whatever call fails, the note is whole, old or new, the locks are free and no handle is left.
TEST_F(QueueLeaseMachine, everyFailingCallLeavesTheNoteWhole) {
    const QueueLease held = lease();
    bool done = false;
    DWORD err = 0;
    const auto check = [&](bool fired, const std::string& content, bool updates) {
        const auto told = notices::takeDebugOutput();
        EXPECT_EQ(done, err == 0);
        EXPECT_TRUE(done || err == 1234 || err == static_cast<DWORD>(HRESULT_FROM_WIN32(1234)) || err == 13 || err == 5)
            << err;
        EXPECT_TRUE(done || fired);
        const std::string now = contentOf(queue_ / "note_a.json");
        EXPECT_TRUE(!updates || now == "old" || now == content) << now;
        EXPECT_TRUE(!updates || !done || now == content) << now;
        for (const auto& entry : fs::directory_iterator(queue_)) {
            if (entry.path().extension() != ".tmp") continue;
            ADD_FAILURE() << "left behind: " << entry.path();
            fs::remove(entry);
        }
        ASSERT_TRUE(held.removeNote(kNote, err)) << "a lock stays held: " << err;
        putNote("note_a.json", "old");
    };
    putNote("note_a.json", "old");
    EXPECT_GT(forEachFailingCall([&] { done = held.updateNote(kNote, "new", err); },
                                 [&](bool fired) { check(fired, "new", true); }, 1234),
              25U);
    forEachFailingCall([&] { done = held.removeNote(kNote, err); }, [&](bool fired) { check(fired, "", false); }, 1234);
    std::string bytes;
    forEachFailingCall([&] { done = held.readNote(kNote, bytes, err); },
                       [&](bool fired) {
                           EXPECT_EQ(done, bytes == "old");
                           check(fired, "old", true);
                       },
                       1234);
}

// The process is killed at each call of an update and of a removal.
TEST_F(QueueLeaseMachine, killedAtAnyCallItLeavesWhatTheNextOneCanUse) {
    std::map<std::string, unsigned> seen;
    for (const bool updates : {true, false}) {
        for (unsigned use = 1;; ++use) {
            SCOPED_TRACE((updates ? "update, call " : "removal, call ") + std::to_string(use));
            putNote("note_a.json", "old");
            const pid_t child = fork();
            if (child == 0) {
                DWORD err = 0;
                const QueueLease held = lease();
                faults::clear();
                faults::arm({"*", use, faults::Action::Kill, 0});
                updates ? held.updateNote(kNote, "new", err) : held.removeNote(kNote, err);
                _exit(7);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            const bool finished = WIFEXITED(status) && WEXITSTATUS(status) == 7;

            const bool there = fs::exists(queue_ / "note_a.json");
            const std::string content = there ? contentOf(queue_ / "note_a.json") : "gone";
            EXPECT_TRUE(content == "old" || content == (updates ? "new" : "gone")) << content;
            unsigned strays = 0;
            for (const auto& entry : fs::directory_iterator(queue_))
                if (entry.path().extension() == ".tmp") ++strays, fs::remove(entry);
            EXPECT_LE(strays, content == "old" ? 1U : 0U) << "once the new note is there, no other file is";
            ++seen[content + (strays != 0 ? " and a stray" : "")];
            DWORD err = 0;
            const QueueLease next = lease();
            EXPECT_TRUE(next.removeNote(kNote, err)) << "a lock stays held: " << err;
            if (finished) break;
            ASSERT_LT(use, 500U);
        }
    }
    EXPECT_GT(seen["old"], 10U);
    EXPECT_GT(seen["old and a stray"], 0U);
    EXPECT_GT(seen["new"], 0U);
    EXPECT_GT(seen["gone"], 0U);
}

TEST_F(QueueLeaseMachine, cleanupRemovesTheEntryOfAnEmptyStoreOnly) {
    unsigned removals = 0;
    DWORD result = 0;
    const auto clean = [&](DWORD& err) {
        return store_.cleanupEmptyStore(
            [&] {
                ++removals;
                return result;
            },
            err);
    };
    const auto refused = [&](DWORD wanted) {
        DWORD err = 99;
        const unsigned before = removals;
        EXPECT_FALSE(clean(err));
        EXPECT_EQ(err, wanted);
        EXPECT_EQ(removals, before);
    };
    DWORD err = 0;
    EXPECT_TRUE(clean(err)) << err;
    EXPECT_EQ(removals, 1U);
    const QueueLease held = lease();
    EXPECT_TRUE(clean(err)) << "a display lock is no obstacle: " << err;
    result = 77;
    EXPECT_FALSE(clean(err));
    EXPECT_EQ(err, 77U);
    result = 0;

    for (const char* name : {"note_a.json", "{stale}.tmp", "anything"}) {
        putNote(name, "x");
        refused(0);
        fs::remove(queue_ / name);
    }
    const HANDLE writer = hold(name_ + "\\.writer.lock");
    refused(32);
    CloseHandle(writer);
    const HANDLE lifecycle = hold(".lifecycle.lock");
    refused(32);
    CloseHandle(lifecycle);
    putPrivateFile(root() / "applet-x", "");
    refused(5);
    fs::remove(root() / "applet-x");
    makeQueue("applet-x");
    refused(13);
    fs::remove(root() / "applet-x");
    fs::rename(root() / "runtime", root() / "Runtime");
    refused(13);
    fs::rename(root() / "Runtime", root() / "runtime");
    std::ofstream(root() / "runtime/whatever") << "x";
    putPrivateFile(root() / ".recovery.lock", "");
    makeQueue("applet-00000002-0000000000000999-0000000000000001");
    EXPECT_TRUE(clean(err)) << "an empty queue of whomever: " << err;
    EXPECT_FALSE(store_.cleanupEmptyStore(nullptr, err));
    EXPECT_EQ(err, 87U);
    EXPECT_FALSE(QueueStore().cleanupEmptyStore([] { return DWORD{0}; }, err));
    EXPECT_EQ(err, 87U);
}

// A search that fails never makes a store look empty, and an opening that fails leaves no lease.
TEST_F(QueueLeaseMachine, everyFailingCallOfCleanupAndOpeningIsToldFromSuccess) {
    unsigned removals = 0;
    bool done = false;
    DWORD err = 0;
    const auto clean = [&] { done = store_.cleanupEmptyStore([&] { return ++removals, DWORD{0}; }, err); };
    makeQueue("applet-00000002-0000000000000999-0000000000000001");
    putNote("note_a.json", "x");
    const auto nothingRemoved = [&](bool fired) {
        notices::takeDebugOutput();
        EXPECT_FALSE(done);
        EXPECT_TRUE(fired || err == 0);
        EXPECT_EQ(removals, 0U);
    };
    EXPECT_GT(forEachFailingCall(clean, nothingRemoved, 1234), 20U);
    fs::remove(queue_ / "note_a.json");
    EXPECT_GT(forEachFailingCall(
                  clean,
                  [&](bool fired) {
                      EXPECT_EQ(done, err == 0);
                      EXPECT_EQ(removals, done ? 1U : 0U);
                      EXPECT_TRUE(fired || done);
                      notices::takeDebugOutput();
                      removals = 0;
                  },
                  1234),
              20U);
    EXPECT_GT(forEachFailingCall(
                  [&] {
                      QueueLease lease;
                      done = QueueLease::open(store_, wide(name_), context().identity, lease, err);
                      EXPECT_EQ(done, lease.active());
                  },
                  [&](bool fired) {
                      EXPECT_TRUE(fired || done);
                      EXPECT_EQ(done, err == 0);
                      notices::takeDebugOutput();
                      EXPECT_TRUE(lease().active()) << "nothing stays held";
                  },
                  1234),
              10U);
}

TEST_F(QueueLeaseMachine, cleanupLooksAt4096Entries) {
    QueueStore store = store_;
    for (unsigned i = 0; i < 4094; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "applet-00000002-%016X-0000000000000001", i + 1);
        makeQueue(name);
    }
    unsigned removals = 0;
    DWORD err = 99;
    const auto remove = [&] { return ++removals, DWORD{0}; };
    EXPECT_TRUE(store.cleanupEmptyStore(remove, err)) << err;  // with "runtime" and the own queue: 4096
    makeQueue("applet-00000003-0000000000000001-0000000000000001");
    EXPECT_FALSE(store.cleanupEmptyStore(remove, err));
    EXPECT_EQ(err, 234U);
    EXPECT_EQ(removals, 1U);
}
