// What a display process does in its queue: it holds it, reads, replaces and removes its notes, and cleans up.
#include <windows.h>

#include <map>

#include "StoreFixture.h"

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
    std::string content() const { return contentOf(queue_ / "note_a.json"); }

    DWORD open(QueueLease& lease, const WideString& queue, const LogonIdentity& identity) const {
        return errorOf([&](DWORD& err) { return QueueLease::open(store_, queue, identity, lease, err); });
    }
    static DWORD read(const QueueLease& held, std::string& bytes, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.readNote(name, bytes, err); });
    }
    static DWORD update(const QueueLease& held, const std::string& bytes, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.updateNote(name, bytes, err); });
    }
    static DWORD remove(const QueueLease& held, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.removeNote(name, err); });
    }

    QueueStore store_;
    std::string name_;
    fs::path queue_;
};

TEST_F(QueueLeaseMachine, isForOneOfThisLogonsQueuesOnly) {
    const LogonIdentity own = context().identity;
    QueueLease first = lease(), second;
    EXPECT_EQ(open(second, wide(name_), own), 32U) << "displayed already";
    EXPECT_EQ(open(first, wide(name_), own), 5U) << "one lease at a time";
    EXPECT_TRUE(first.active() && !second.active());
    EXPECT_EQ(errorOf([&](DWORD& err) { return QueueLease::open(QueueStore(), wide(name_), own, second, err); }), 5U);
    const HANDLE lifecycle = hold(".lifecycle.lock");
    EXPECT_EQ(open(second, wide(name_), own), 32U);
    CloseHandle(lifecycle);

    first = QueueLease();
    fs::remove(root() / ".lifecycle.lock");
    LogonIdentity other = own;
    ++other.logonTime;
    for (const auto& [queue, identity] : {std::pair{wide(name_), other},
                                          {formatQueueName(other), own},
                                          {wide("applet-x"), own},
                                          {wide(name_), LogonIdentity()}})
        EXPECT_EQ(open(second, queue, identity), 5U) << utf8(queue);
    EXPECT_FALSE(fs::exists(root() / ".lifecycle.lock")) << "no lock is even touched";

    const std::string claimed = name_ + "-r-6F9619FF8B86D011B42D00C04FC964FF";
    makeQueue(claimed);
    EXPECT_EQ(open(second, wide(claimed), own), 0U);
}

TEST_F(QueueLeaseMachine, keepsTheFolderAndOutlivesTheStoresOtherOwners) {
    QueueLease held = lease();
    store_ = QueueStore();
    const WideString path = pathOf(name_), moved = pathOf("moved");
    EXPECT_FALSE(MoveFileExW(path.c_str(), moved.c_str(), 0));
    EXPECT_EQ(GetLastError(), 32U) << "that of the folder itself, and not of the lock in it";
    putNote("note_a.json", "x");
    std::string bytes;
    EXPECT_EQ(read(held, bytes), 0U);
    held = QueueLease();
    EXPECT_TRUE(MoveFileExW(path.c_str(), moved.c_str(), 0)) << GetLastError();
    EXPECT_EQ(faults::openHandles(), 0U);
}

TEST_F(QueueLeaseMachine, withoutALeaseNothingIsDone) {
    const QueueLease none;
    std::string bytes = "x";
    EXPECT_EQ(read(none, bytes), 87U);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(update(none, "x"), 87U);
    EXPECT_EQ(remove(none), 87U);
    EXPECT_EQ(errorOf([&](DWORD& err) { return none.cleanupStartup(err); }), 6U);
}

TEST_F(QueueLeaseMachine, readsWholeNotesWithinTheirLimits) {
    const QueueLease held = lease();
    std::string bytes;
    const std::pair<std::size_t, DWORD> sizes[] = {{0, 223}, {1, 0}, {2 * kMiB, 0}, {2 * kMiB + 1, 223}};
    for (const auto& [size, wanted] : sizes) {
        putNote("note_a.json", std::string(size, 'x'));
        bytes = "before";
        EXPECT_EQ(read(held, bytes), wanted) << size;
        EXPECT_EQ(bytes.size(), wanted == 0 ? size : 0) << size;
    }
    EXPECT_EQ(read(held, bytes, TEXT("note_x.json")), 2U);
    for (const char* name : {"..\\note_a.json", "note_a-b.json", "note_a.json:x"}) {
        EXPECT_EQ(read(held, bytes, wide(name)), 87U) << name;
        EXPECT_EQ(update(held, "x", wide(name)), 87U) << name;
        EXPECT_EQ(remove(held, wide(name)), 87U) << name;
    }
    // A short read goes on; one that brings nothing ends it.
    putNote("note_a.json", "0123456789");
    faults::arm({"ReadFile", 0, faults::Action::Short, 3});
    EXPECT_EQ(read(held, bytes), 0U);
    EXPECT_EQ(bytes, "0123456789");
    faults::clear();
    faults::arm({"ReadFile", 2, faults::Action::Short, 0});
    faults::arm({"ReadFile", 1, faults::Action::Short, 3});
    EXPECT_EQ(read(held, bytes), 38U);
    faults::clear();
    // A reader does not mind the writer's lock, nor the store's.
    const HANDLE writer = hold(name_ + "\\.writer.lock"), lifecycle = hold(".lifecycle.lock");
    EXPECT_EQ(read(held, bytes), 0U);
    EXPECT_EQ(update(held, "x"), 32U);
    CloseHandle(lifecycle);
    EXPECT_EQ(remove(held), 32U);
    EXPECT_EQ(remove(held, TEXT("note_gone.json")), 32U) << "the locks come first";
    CloseHandle(writer);
    EXPECT_EQ(remove(held, TEXT("note_gone.json")), 0U);
    EXPECT_EQ(remove(held), 0U);
    EXPECT_FALSE(fs::exists(queue_ / "note_a.json"));
}

TEST_F(QueueLeaseMachine, replacesANoteByAPrivateOne) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    const std::string bytes = "head" + std::string(5000, 'x') + "tail";
    faults::arm({"WriteFile", 0, faults::Action::Short, 1000});
    EXPECT_EQ(update(held, bytes), 0U);
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    faults::clear();
    EXPECT_EQ(content(), bytes);
    EXPECT_EQ(fs::status(queue_ / "note_a.json").permissions(), kPrivateFile);
    EXPECT_EQ(names(), (std::vector<std::string>{".display.lock", ".writer.lock", "note_a.json"}));

    EXPECT_EQ(update(held, "new", TEXT("note_b.json")), 2U) << "it makes no new note";
    EXPECT_EQ(update(held, ""), 87U);
    EXPECT_EQ(update(held, std::string(2 * kMiB + 1, 'x')), 87U);
    faults::arm({"WriteFile", 1, faults::Action::Short, 0});
    EXPECT_EQ(update(held, "new"), 29U);
    faults::clear();
    EXPECT_EQ(content(), bytes);
    EXPECT_EQ(names().size(), 3U);
}

// The note is closed when its successor is on the disk. The close of the successor tells how the update went.
TEST_F(QueueLeaseMachine, closesOfAnUpdateCount) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    faults::arm({"CloseHandle", 1, faults::Action::Fail, 1234});
    EXPECT_EQ(update(held, "new"), 1234U);
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    EXPECT_EQ(content(), "old");
    faults::clear();
    faults::arm({"CloseHandle", 2, faults::Action::Fail, 1235});
    EXPECT_EQ(update(held, "new"), 1235U);
    EXPECT_EQ(content(), "new") << "it is in its place by then";
    faults::clear();
    faults::arm({"CloseHandle", 1, faults::Action::Fail, 1236});
    EXPECT_EQ(remove(held), 1236U);
}

TEST_F(QueueLeaseMachine, limitsOfTheQueueHoldAtTheirEdges) {
    const QueueLease held = lease();
    const auto put = [&](int from, int to, std::size_t size) {
        for (int i = from; i < to; ++i)
            putNote("note_" + std::to_string(i) + ".json", std::string(size, 'x'));
    };
    const auto empty = [&] {
        for (const auto& entry : fs::directory_iterator(queue_))
            if (entry.path().extension() == ".json") fs::remove(entry);
    };
    // Fifteen notes of 2 MiB beside the one that is replaced: 30 MiB, and 2 MiB to come.
    put(0, 15, 2 * kMiB);
    putNote("note_a.json", "old");
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'y')), 0U);
    putNote("note_b.json", "1");
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'z')), 112U);
    EXPECT_EQ(update(held, std::string(2 * kMiB - 1, 'z')), 0U);
    empty();

    putNote("note_a.json", "old");
    put(1, 128, 1);
    putPrivateFile(queue_ / "{stale}.tmp", "x");
    EXPECT_EQ(update(held, "new"), 0U) << "128 with itself";
    putPrivateFile(queue_ / "X.json", "x");
    EXPECT_EQ(update(held, "newer"), 112U);
    fs::remove(queue_ / "note_1.json");
    EXPECT_EQ(update(held, "newer"), 0U) << "whatever the names of the others";
    fs::remove(queue_ / "note_2.json");
    fs::create_directory(queue_ / "folder.json");
    EXPECT_EQ(update(held, "newest"), 112U);
    fs::remove(queue_ / "folder.json");
    fs::create_symlink(queue_ / "note_3.json", queue_ / "link.json");
    EXPECT_EQ(update(held, "newest"), 112U);
    EXPECT_EQ(content(), "newer");
    empty();

    // The note that is replaced is not counted, however its name is written.
    put(0, 15, 2 * kMiB);
    putNote("note_a.json", std::string(2 * kMiB, 'x'));
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'y'), TEXT("note_A.json")), 0U);
}

// The temporary path, with a name of 42 characters, and the note's own, where the machine opens longer ones.
TEST_F(QueueLeaseMachine, pathOf260CharactersIsTooLong) {
    allowLongPaths();
    for (const std::string& note : {std::string("note_a.json"), "note_" + std::string(86, 'x') + ".json"}) {
        for (const std::size_t length : {259U, 260U}) {
            const std::size_t rootLength = length - std::max<std::size_t>(note.size(), 42) - name_.size() - 2;
            const WideString storeRoot = TEXT("C:\\") + WideString(rootLength - 3, TEXT('x'));
            QueueStore store;
            EXPECT_EQ(errorOf([&](DWORD& err) { return store.open(storeRoot, owner(), true, err); }), 0U);
            const fs::path queue = fs::path(hostPath(storeRoot)) / name_;
            fs::create_directory(queue);
            chmod(queue.c_str(), 0700);
            putPrivateFile(queue / note, "old");
            EXPECT_EQ(update(StoreMachine::lease(store, name_), "new", wide(note)), length < 260 ? 0U : 206U) << note;
            EXPECT_EQ(contentOf(queue / note), length < 260 ? "new" : "old");
        }
    }
}

// The process is killed at each call of an update and of a removal.
TEST_F(QueueLeaseMachine, killedAtAnyCallItLeavesWhatTheNextOneCanUse) {
    std::map<std::string, unsigned> seen;
    for (const bool updates : {true, false}) {
        forEachKilledCall([&] { putNote("note_a.json", "old"); }, [&] { return lease(); },
                          [&](const QueueLease& held) { updates ? update(held, "new") : remove(held); },
                          [&] {
                              const std::string now = fs::exists(queue_ / "note_a.json") ? content() : "gone";
                              EXPECT_TRUE(now == "old" || now == (updates ? "new" : "gone")) << now;
                              unsigned strays = 0;
                              for (const auto& entry : fs::directory_iterator(queue_))
                                  if (entry.path().extension() == ".tmp") ++strays, fs::remove(entry);
                              EXPECT_LE(strays, now == "old" ? 1U : 0U)
                                  << "once the new note is there, no other file is";
                              ++seen[now + (strays != 0 ? " and a stray" : "")];
                              EXPECT_EQ(remove(lease()), 0U) << "a lock stays held";
                          });
    }
    for (const char* state : {"old", "old and a stray", "new", "gone"})
        EXPECT_GT(seen[state], 0U) << state;
}

TEST_F(QueueLeaseMachine, cleanupRemovesTheEntryOfAnEmptyStoreOnly) {
    unsigned removals = 0;
    DWORD result = 0;
    const auto clean = [&] {
        return errorOf([&](DWORD& err) { return store_.cleanupEmptyStore([&] { return ++removals, result; }, err); });
    };
    const auto refused = [&](DWORD wanted, const char* what) {
        const unsigned before = removals;
        DWORD err = 99;
        EXPECT_FALSE(store_.cleanupEmptyStore([&] { return ++removals, DWORD{0}; }, err)) << what;
        EXPECT_EQ(err, wanted) << what;
        EXPECT_EQ(removals, before) << what;
    };
    EXPECT_EQ(clean(), 0U);
    EXPECT_EQ(removals, 1U);
    const QueueLease held = lease();
    EXPECT_EQ(clean(), 0U) << "a display lock is no obstacle";
    result = 77;
    EXPECT_EQ(clean(), 77U);
    result = 0;

    for (const char* name : {"note_a.json", "{stale}.tmp", "anything"}) {
        putNote(name, "x");
        refused(0, name);
        fs::remove(queue_ / name);
    }
    for (const std::string& lock : {name_ + "\\.writer.lock", std::string(".lifecycle.lock")}) {
        const HANDLE locked = hold(lock);
        refused(32, lock.c_str());
        CloseHandle(locked);
    }
    putPrivateFile(root() / "applet-x", "");
    refused(5, "a file");
    fs::remove(root() / "applet-x");
    makeQueue("applet-x");
    refused(13, "a folder that is no queue");
    fs::remove(root() / "applet-x");
    fs::rename(root() / "runtime", root() / "Runtime");
    refused(13, "other capitals");
    fs::rename(root() / "Runtime", root() / "runtime");
    std::ofstream(root() / "runtime/whatever") << "x";
    putPrivateFile(root() / ".recovery.lock", "");
    makeQueue("applet-00000002-0000000000000999-0000000000000001");
    EXPECT_EQ(clean(), 0U) << "an empty queue of whomever";
    EXPECT_EQ(errorOf([&](DWORD& err) { return store_.cleanupEmptyStore(nullptr, err); }), 87U);
    EXPECT_EQ(errorOf([](DWORD& err) { return QueueStore().cleanupEmptyStore([] { return DWORD{0}; }, err); }), 87U);
}

TEST_F(QueueLeaseMachine, cleanupLooksAt4096Entries) {
    for (unsigned i = 1; i <= 4094; ++i)
        makeQueue("applet-00000002-" + hex(i, 16) + "-0000000000000001");
    const auto clean = [&](DWORD& err) { return store_.cleanupEmptyStore([] { return DWORD{0}; }, err); };
    EXPECT_EQ(errorOf(clean), 0U);  // with "runtime" and the own queue: 4096
    makeQueue("applet-00000003-0000000000000001-0000000000000001");
    EXPECT_EQ(errorOf(clean), 234U);
}
