// What a display process does with its queue: it holds a lease, reads, replaces and removes notes, and cleans up.
#include "applet/QueueLease.h"

#include <map>

#include "machine/support/StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

namespace {

constexpr const WCHAR* kNote = TEXT("note_a.json");

}  // namespace

class QueueLeaseMachine : public StoreMachine {
  protected:
    void putNote(const std::string& file, const std::string& bytes) const {
        StoreMachine::putNote(queue_, file, bytes);
    }
    void putNotes(int from, int to, std::size_t size) const {
        for (int i = from; i < to; ++i)
            putNote("note_" + std::to_string(i) + ".json", std::string(size, 'x'));
    }
    QueueLease lease() const { return StoreMachine::lease(store_, name_); }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(queue_))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    std::string content() const { return contentOf(queue_ / "note_a.json"); }

    long open(QueueLease& lease, const WideString& queue, const LogonIdentity& identity) const {
        return errorOf([&](DWORD& err) { return QueueLease::open(store_, queue, identity, lease, err); });
    }
    static long read(const QueueLease& held, std::string& bytes, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.readNote(name, bytes, err); });
    }
    static long update(const QueueLease& held, const std::string& bytes, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.updateNote(name, bytes, err); });
    }
    static long remove(const QueueLease& held, const WideString& name = kNote) {
        return errorOf([&](DWORD& err) { return held.removeNote(name, err); });
    }
    // Runs a cleanup that must find an empty store. Returns its error.
    long clean() {
        const unsigned before = removals_;
        const long error = errorOf([&](DWORD& err) { return store_.cleanupEmptyStore(removal_, err); });
        EXPECT_EQ(removals_, before + 1);
        return error;
    }
    // Runs a cleanup that must not remove the startup entry. Returns its error.
    long leave(const StartupEntryRemoval& removal) const {
        const unsigned before = removals_;
        DWORD err = 99;
        EXPECT_FALSE(store_.cleanupEmptyStore(removal, err));
        EXPECT_EQ(removals_, before);
        return static_cast<long>(err);
    }
    long leave() const { return leave(removal_); }

    QueueStore store_ = makeStore();
    std::string name_ = ownQueue();
    fs::path queue_ = makeQueue(name_);
    unsigned removals_ = 0;
    DWORD result_ = 0;  // what the next removal returns
    const StartupEntryRemoval removal_ = [this] { return ++removals_, result_; };
};

TEST_F(QueueLeaseMachine, queueHasOneLeaseAtATime) {
    const LogonIdentity own = context().identity;
    QueueLease first = lease(), second;
    EXPECT_EQ(open(second, wide(name_), own), ERROR_SHARING_VIOLATION) << "displayed already";
    EXPECT_EQ(open(first, wide(name_), own), ERROR_ACCESS_DENIED) << "it has one";
    EXPECT_TRUE(first.active() && !second.active());
    EXPECT_EQ(whileHeld(".lifecycle.lock", [&] { return open(second, wide(name_), own); }), ERROR_SHARING_VIOLATION);
    store_ = QueueStore();
    EXPECT_EQ(open(second, wide(name_), own), ERROR_ACCESS_DENIED);
}

TEST_F(QueueLeaseMachine, leasesOnlyQueuesOfThisLogon) {
    const LogonIdentity own = context().identity;
    LogonIdentity other = own;
    ++other.logonTime;
    QueueLease held;
    for (const auto& [queue, identity] : {std::pair{wide(name_), other},
                                          {formatQueueName(other), own},
                                          {wide("applet-x"), own},
                                          {wide(name_), LogonIdentity()}})
        EXPECT_EQ(open(held, queue, identity), ERROR_ACCESS_DENIED) << utf8(queue);
    EXPECT_FALSE(fs::exists(root() / ".lifecycle.lock")) << "no lock is even touched";
    const std::string claimed = name_ + "-r-6F9619FF8B86D011B42D00C04FC964FF";
    makeQueue(claimed);
    EXPECT_EQ(open(held, wide(claimed), own), 0);
}

TEST_F(QueueLeaseMachine, queueCannotBeMovedWhileLeased) {
    QueueLease held = lease();
    store_ = QueueStore();
    const WideString path = pathOf(name_), moved = pathOf("moved");
    EXPECT_EQ(errorAfter(MoveFileExW(path.c_str(), moved.c_str(), 0)), ERROR_SHARING_VIOLATION)
        << "that of the folder itself, and not of the lock in it";
    putNote("note_a.json", "x");
    std::string bytes;
    EXPECT_EQ(read(held, bytes), 0);
    held = QueueLease();
    EXPECT_EQ(errorAfter(MoveFileExW(path.c_str(), moved.c_str(), 0)), 0);
    EXPECT_EQ(faults::openHandles(), 0U);
}

TEST_F(QueueLeaseMachine, emptyLeaseRefusesEveryOperation) {
    const QueueLease none;
    std::string bytes = "x";
    EXPECT_EQ(read(none, bytes), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(update(none, "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(remove(none), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf([&](DWORD& err) { return none.cleanupStartup(err); }), ERROR_INVALID_HANDLE);
}

TEST_F(QueueLeaseMachine, readsNotesOfUpTo2MiB) {
    const QueueLease held = lease();
    const std::pair<std::size_t, long> sizes[] = {
        {0, ERROR_FILE_TOO_LARGE}, {1, 0}, {2 * kMiB, 0}, {2 * kMiB + 1, ERROR_FILE_TOO_LARGE}};
    for (const auto& [size, error] : sizes) {
        putNote("note_a.json", std::string(size, 'x'));
        std::string bytes = "before";
        EXPECT_EQ(read(held, bytes), error) << size;
        EXPECT_EQ(bytes.size(), error == 0 ? size : 0) << size;
    }
}

TEST_F(QueueLeaseMachine, refusesNamesThatAreNotNoteNames) {
    const QueueLease held = lease();
    std::string bytes;
    EXPECT_EQ(read(held, bytes, TEXT("note_x.json")), ERROR_FILE_NOT_FOUND);
    for (const char* name : {"..\\note_a.json", "note_a-b.json", "note_a.json:x"})
        for (const long error :
             {read(held, bytes, wide(name)), update(held, "x", wide(name)), remove(held, wide(name))})
            EXPECT_EQ(error, ERROR_INVALID_PARAMETER) << name;
}

TEST_F(QueueLeaseMachine, readsANoteThatAnotherProcessIsAboutToDelete) {
    const QueueLease held = lease();
    std::string bytes;
    putNote("note_a.json", "x");
    const WideString path = context().storeRoot + TEXT("\\") + wide(name_) + TEXT("\\note_a.json");
    const FileHandle other(CreateFileW(path.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(other);
    EXPECT_EQ(read(held, bytes), 0);
}

TEST_F(QueueLeaseMachine, continuesAfterAShortReadAndFailsAfterAnEmptyOne) {
    const QueueLease held = lease();
    std::string bytes;
    putNote("note_a.json", "0123456789");
    faults::arm({"ReadFile", 0, faults::Action::Short, 3});
    EXPECT_EQ(read(held, bytes), 0);
    EXPECT_EQ(bytes, "0123456789");
    faults::clear();
    faults::arm({"ReadFile", 2, faults::Action::Short, 0});
    faults::arm({"ReadFile", 1, faults::Action::Short, 3});
    EXPECT_EQ(read(held, bytes), ERROR_HANDLE_EOF);
}

TEST_F(QueueLeaseMachine, locksBlockWritesButNotReads) {
    const QueueLease held = lease();
    const WideString gone = TEXT("note_gone.json");
    std::string bytes;
    putNote("note_a.json", "x");
    for (const std::string& lock : {name_ + "\\.writer.lock", std::string(".lifecycle.lock")})
        whileHeld(lock, [&] {
            EXPECT_EQ(read(held, bytes), 0);
            for (const long error : {update(held, "x"), remove(held), remove(held, gone)})
                EXPECT_EQ(error, ERROR_SHARING_VIOLATION) << lock;
            return 0;
        });
    EXPECT_EQ(remove(held, gone), 0);
    EXPECT_EQ(remove(held), 0);
    EXPECT_FALSE(fs::exists(queue_ / "note_a.json"));
}

TEST_F(QueueLeaseMachine, updateWritesAPrivateNote) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    const std::string bytes = "head" + std::string(5000, 'x') + "tail";
    faults::arm({"WriteFile", 0, faults::Action::Short, 1000});
    EXPECT_EQ(update(held, bytes), 0);
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    EXPECT_EQ(content(), bytes);
    EXPECT_EQ(fs::status(queue_ / "note_a.json").permissions(), kPrivateFile);
    EXPECT_EQ(names(), (std::vector<std::string>{".display.lock", ".writer.lock", "note_a.json"}));
}

TEST_F(QueueLeaseMachine, refusedUpdateKeepsTheOldNote) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    EXPECT_EQ(update(held, "new", TEXT("note_b.json")), ERROR_FILE_NOT_FOUND) << "it makes no new note";
    EXPECT_EQ(update(held, ""), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(update(held, std::string(2 * kMiB + 1, 'x')), ERROR_INVALID_PARAMETER);
    faults::arm({"WriteFile", 1, faults::Action::Short, 0});
    EXPECT_EQ(update(held, "new"), ERROR_WRITE_FAULT);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(names(), (std::vector<std::string>{".display.lock", ".writer.lock", "note_a.json"}));
}

// The old note is closed after the new content is on disk. The close of the new file decides whether the update
// succeeded.
TEST_F(QueueLeaseMachine, updateFailsIfAFileCannotBeClosed) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    failCall("CloseHandle", 1, 1234);
    EXPECT_EQ(update(held, "new"), 1234);
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    EXPECT_EQ(content(), "old");
    faults::clear();
    EXPECT_EQ(whileFailing("CloseHandle", 2, 1235, [&] { return update(held, "new"); }), 1235);
    EXPECT_EQ(content(), "new") << "it is in its place by then";
    EXPECT_EQ(whileFailing("CloseHandle", 1, 1236, [&] { return remove(held); }), 1236);
}

// 15 notes of 2 MiB besides the replaced one make 30 MiB, so 2 MiB are left.
TEST_F(QueueLeaseMachine, updateKeepsTheQueueWithin32MiB) {
    const QueueLease held = lease();
    putNotes(0, 15, 2 * kMiB);
    putNote("note_a.json", "old");
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'y')), 0);
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'y'), TEXT("note_A.json")), 0)
        << "the note that is replaced is not counted, however its name is written";
    putNote("note_b.json", "1");
    EXPECT_EQ(update(held, std::string(2 * kMiB, 'z')), ERROR_DISK_FULL);
    EXPECT_EQ(update(held, std::string(2 * kMiB - 1, 'z')), 0);
}

TEST_F(QueueLeaseMachine, updateAllows128EntriesOfAnyKind) {
    const QueueLease held = lease();
    putNote("note_a.json", "old");
    putNotes(1, 128, 1);
    putPrivateFile(queue_ / "{stale}.tmp", "x");
    EXPECT_EQ(update(held, "new"), 0) << "128 with itself";
    putPrivateFile(queue_ / "X.json", "x");
    EXPECT_EQ(update(held, "newer"), ERROR_DISK_FULL);
    fs::remove(queue_ / "X.json");
    fs::create_directory(queue_ / "folder.json");
    EXPECT_EQ(update(held, "newer"), ERROR_DISK_FULL);
    fs::remove(queue_ / "folder.json");
    fs::create_symlink(queue_ / "note_3.json", queue_ / "link.json");
    EXPECT_EQ(update(held, "newer"), ERROR_DISK_FULL);
    EXPECT_EQ(content(), "new");
}

// Tests two paths: that of the temporary file, whose name has 42 characters, and the note's own. The machine allows
// longer paths.
TEST_F(QueueLeaseMachine, pathOf260CharactersIsTooLong) {
    allowLongPaths();
    for (const std::string& note : {std::string("note_a.json"), "note_" + std::string(86, 'x') + ".json"})
        for (const std::size_t length : {259U, 260U}) {
            QueueStore store;
            const std::size_t rootLength = length - std::max<std::size_t>(note.size(), 42) - name_.size() - 2;
            const fs::path queue = openStoreOfLength(rootLength, name_, store);
            putPrivateFile(queue / note, "old");
            EXPECT_EQ(update(StoreMachine::lease(store, name_), "new", wide(note)),
                      length < 260 ? 0 : ERROR_FILENAME_EXCED_RANGE);
            EXPECT_EQ(contentOf(queue / note), length < 260 ? "new" : "old");
        }
}

// Kills the process at each call of an update and of a removal.
TEST_F(QueueLeaseMachine, killAtAnyCallLeavesAUsableQueue) {
    std::map<std::string, unsigned> seen;
    for (const bool updates : {true, false}) {
        const auto body = [&](const QueueLease& held) { updates ? update(held, "new") : remove(held); };
        const auto check = [&] {
            const std::string now = fs::exists(queue_ / "note_a.json") ? content() : "gone";
            EXPECT_TRUE(now == "old" || now == (updates ? "new" : "gone")) << now;
            unsigned strays = 0;
            for (const std::string& name : names())
                if (name.ends_with(".tmp")) strays += fs::remove(queue_ / name);
            EXPECT_LE(strays, now == "old" ? 1U : 0U) << "once the new note is there, no other file is";
            ++seen[now + (strays != 0 ? " and a stray" : "")];
            EXPECT_EQ(remove(lease()), 0) << "a lock stays held";
        };
        forEachKilledCall([&] { putNote("note_a.json", "old"); }, [&] { return lease(); }, body, check);
    }
    for (const char* state : {"old", "old and a stray", "new", "gone"})
        EXPECT_GT(seen[state], 0U) << state;
}

TEST_F(QueueLeaseMachine, cleanupRemovesTheEntryOfAnEmptyStore) {
    EXPECT_EQ(clean(), 0);
    const QueueLease held = lease();
    EXPECT_EQ(clean(), 0) << "a display lock is no obstacle";
    std::ofstream(root() / "runtime/whatever") << "x";
    putPrivateFile(root() / ".recovery.lock", "");
    makeQueue("applet-00000002-0000000000000999-0000000000000001");
    EXPECT_EQ(clean(), 0) << "an empty queue of whomever";
    result_ = 77;
    EXPECT_EQ(clean(), 77);
}

TEST_F(QueueLeaseMachine, cleanupKeepsTheEntryUnlessAllQueuesAreEmpty) {
    for (const char* name : {"note_a.json", "{stale}.tmp", "anything"}) {
        putNote(name, "x");
        EXPECT_EQ(leave(), 0) << name;
        fs::remove(queue_ / name);
    }
    for (const std::string& lock : {name_ + "\\.writer.lock", std::string(".lifecycle.lock")})
        EXPECT_EQ(whileHeld(lock, [&] { return leave(); }), ERROR_SHARING_VIOLATION) << lock;
    EXPECT_EQ(leave(nullptr), ERROR_INVALID_PARAMETER);
    store_ = QueueStore();
    EXPECT_EQ(leave(), ERROR_INVALID_PARAMETER);
}

TEST_F(QueueLeaseMachine, cleanupRefusesAStoreWithAnUnknownEntry) {
    const fs::path stray = root() / "applet-x";
    putPrivateFile(stray, "");
    EXPECT_EQ(leave(), ERROR_ACCESS_DENIED) << "a file";
    fs::remove(stray);
    makeQueue("applet-x");
    EXPECT_EQ(leave(), ERROR_INVALID_DATA) << "a folder that is no queue";
    fs::remove(stray);
    fs::rename(root() / "runtime", root() / "Runtime");
    EXPECT_EQ(leave(), ERROR_INVALID_DATA) << "other capitals";
}

TEST_F(QueueLeaseMachine, cleanupAcceptsUpTo4096Entries) {
    for (unsigned i = 1; i <= 4094; ++i)
        makeQueue("applet-00000002-" + hex(i, 16) + "-0000000000000001");
    EXPECT_EQ(clean(), 0);  // together with "runtime" and the own queue: 4096
    makeQueue("applet-00000003-0000000000000001-0000000000000001");
    EXPECT_EQ(leave(), ERROR_MORE_DATA);
}
