// The store: what it takes to be opened, and what is refused in it.
#include <windows.h>

#include <set>

#include "StoreFixture.h"
#include "applet/Recovery.h"
#include "applet/StoreFiles.h"

using namespace AppletNotes;
using namespace platform;

namespace {

// What of an object must not change.
std::string stateOf(const fs::path& path) {
    struct stat state = {};
    if (lstat(path.c_str(), &state) != 0) return "absent";
    std::string text = std::to_string(state.st_ino) + " " + std::to_string(state.st_mode) + " " +
                       std::to_string(state.st_uid) + " " + std::to_string(state.st_nlink) + " " +
                       std::to_string(state.st_mtim.tv_sec) + "." + std::to_string(state.st_mtim.tv_nsec);
    if (S_ISREG(state.st_mode)) text += " " + std::to_string(state.st_size);
    return text;
}

enum class Kind { Link, HardLink, Other, Access };
struct Plant {
    const char* what;
    Kind kind;
    mode_t bits = 0;  // that make the access list
};
constexpr Plant kPlants[] = {{"link", Kind::Link},
                             {"hard link", Kind::HardLink},
                             {"other kind", Kind::Other},
                             {"foreign owner", Kind::Access, 04600},
                             {"entry that denies", Kind::Access, 02600},
                             {"entry of a group", Kind::Access, 0640},
                             {"everyone's entry", Kind::Access, 0604},
                             {"no entry", Kind::Access, 0},
                             {"no list", Kind::Access, 07777}};

// Puts something in the place of a good object, which goes aside where it is not the object itself.
void plantAt(const fs::path& place, const Plant& plant) {
    const fs::path aside = place.string() + "-aside";
    const bool isFolder = fs::is_directory(place);
    if (plant.kind == Kind::HardLink) fs::create_hard_link(place, aside);
    if (plant.kind == Kind::Access) chmod(place.c_str(), isFolder && plant.bits != 0 ? plant.bits | 0100 : plant.bits);
    if (plant.kind != Kind::Link && plant.kind != Kind::Other) return;
    fs::rename(place, aside);
    if (plant.kind == Kind::Link)
        fs::create_symlink(aside, place);
    else if (isFolder)
        std::ofstream(place) << "file";
    else
        fs::create_directory(place);
    if (plant.kind == Kind::Other) chmod(place.c_str(), isFolder ? 0600 : 0700);
}

// The notes of all queues, and whatever else lies there besides the locks.
std::string notesIn(const fs::path& root) {
    std::string text;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() && entry.path().extension() != ".lock") text += contentOf(entry.path());
    return text;
}

}  // namespace

class QueueStoreMachine : public StoreMachine {
  protected:
    DWORD open(const std::string& path, bool createRoot = false) const {
        QueueStore store;
        const DWORD opened = errorOf([&](DWORD& err) { return store.open(wide(path), owner(), createRoot, err); });
        EXPECT_EQ(store.isEmpty(), opened != 0) << path;
        return opened;
    }
    // One of the operations by its name, on the own queue and its note.
    bool perform(const std::string& operation, DWORD& err) {
        constexpr const WCHAR* kNote = TEXT("note_a.json");
        const auto gone = [&](const LogonIdentity&) { return noteCallback(), OwnerState::Gone; };
        const auto removal = [&] { return noteCallback(), DWORD{0}; };
        QueueLease lease;
        std::string content;
        std::vector<WideString> names;
        WideString newName;
        bool truncated = false;
        DWORD count = 0;
        ULONGLONG bytes = 0;
        if (operation == "open") return store_.open(context().storeRoot, owner(), false, err);
        if (operation == "lease") return QueueLease::open(store_, queue_, context().identity, lease, err);
        if (operation == "read") return held_.readNote(kNote, content, err);
        if (operation == "update") return held_.updateNote(kNote, "new", err);
        if (operation == "remove") return held_.removeNote(kNote, err);
        if (operation == "list") return store_.enumerateQueues(10, names, truncated, err);
        if (operation == "measure") return store_.measureQueue(queue_, count, bytes, err);
        if (operation == "cleanup") return store_.cleanupEmptyStore(removal, err);
        return store_.claimQueue(queue_, context().identity, gone, newName, err) == ClaimResult::Claimed;
    }
    // A store with one queue, in it the note, and what else the operation finds when all is well.
    void prepare(const std::string& operation, bool hasNote) {
        held_ = QueueLease();
        store_ = QueueStore();
        fs::remove_all(root());
        fs::remove_all(root().string() + "-aside");
        store_ = makeStore();
        const fs::path queue = makeQueue(ownQueue());
        for (const fs::path& lock : {queue / ".writer.lock", queue / ".display.lock", root() / ".lifecycle.lock"})
            putPrivateFile(lock, "");
        if (hasNote) putNote(queue, "note_a.json", "old");
        if (operation == "read" || operation == "update" || operation == "remove") held_ = lease(store_, ownQueue());
        if (operation == "open") store_ = QueueStore();
        setNextGuid({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
        callbacks_ = 0;
        takeExclusiveOpenings();
    }
    void noteCallback() {
        ++callbacks_;
        heldInCallback_ = takeExclusiveOpenings() + " ";
    }

    const WideString queue_ = wide(ownQueue());
    QueueStore store_;
    QueueLease held_;
    unsigned callbacks_ = 0;
    std::string heldInCallback_;  // the locks that were taken by then
};

TEST_F(QueueStoreMachine, opensAPlainLocalPathOnly) {
    makeStore();
    fs::create_directories(folder() / "drive_c/dir");
    const std::string root = utf8(context().storeRoot);
    const std::string longest = "C:\\" + std::string(128, 'x') + "\\" + std::string(127, 'y');
    const std::pair<std::string, DWORD> rows[] = {
        {root, 0},
        {"c" + root.substr(1), 0},
        {"", 87},
        {"C:\\", 87},
        {"C:", 87},
        {root + "\\", 87},
        {"\\\\server\\share", 87},
        {"\\dir\\store", 87},
        {"1:\\dir", 87},
        {"C:/dir", 87},
        {"C:dir\\store", 87},
        {longest + "y", 87},
        {longest, 2},  // of 259 characters
        {"C:\\dir\\\\x", 161},
        {"C:\\.\\x", 161},
        {"C:\\..\\x", 161},
        {"C:\\dir\\x.", 161},
        {"C:\\dir \\x", 161},
        {"C:\\dir/x", 161},
        {"C:\\dir\\x:y", 161},
        {"C:\\dir\\x*", 161},
        {"C:\\dir\\x?", 161},
        {"C:\\dir\\x\"", 161},
        {"C:\\dir\\<x", 161},
        {"C:\\dir\\x>", 161},
        {"C:\\dir\\x|", 161},
        {"C:\\dir\\missing", 2},
        {"C:\\missing\\x", 2},
        {"C:\\missing\\x.", 2},  // each folder is opened before the next is looked at
    };
    for (const auto& [path, err] : rows)
        EXPECT_EQ(open(path), err) << path;
    QueueStore store;
    DWORD err = 0;
    BYTE noSid[12] = {9, 1};
    for (const PSID sid : {PSID{nullptr}, PSID{noSid}}) {
        EXPECT_FALSE(store.open(context().storeRoot, sid, false, err));
        EXPECT_EQ(err, 87U);
    }
    EXPECT_EQ(faults::openHandles(), 0U);
    EXPECT_EQ(faults::openAllocations(), 0U);
}

TEST_F(QueueStoreMachine, makesItsRootPrivateAndNothingElse) {
    fs::create_directories(root().parent_path());
    EXPECT_EQ(open(utf8(context().storeRoot)), 2U);
    chmod(root().parent_path().c_str(), 0755);
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        fs::remove(root());
        const mode_t before = umask(mask);
        EXPECT_EQ(open(utf8(context().storeRoot), true), 0U);
        umask(before);
        EXPECT_EQ(fs::status(root()).permissions(), kPrivateFolder) << "whatever the umask, and the folder above";
    }
    EXPECT_EQ(open(utf8(context().storeRoot), true), 0U) << "it is there already";
    EXPECT_EQ(open("C:\\missing\\store", true), 2U);
    EXPECT_TRUE(fs::is_empty(root())) << "opening makes no lock";

    fs::remove(root());
    faults::arm({"CreateDirectoryW", 1, faults::Action::Fail, 1234});
    EXPECT_EQ(open(utf8(context().storeRoot), true), 1234U);
    faults::clear();
    EXPECT_FALSE(fs::exists(root()));
    putPrivateFile(root(), "file");
    EXPECT_EQ(open(utf8(context().storeRoot), true), 5U);
    EXPECT_EQ(contentOf(root()), "file");
}

TEST_F(QueueStoreMachine, folderHandsItsEntriesToWhatIsNotProtected) {
    const QueueStore store = makeStore();
    QueueStore::Impl& made = *store.impl();
    void* entry = nullptr;
    ASSERT_TRUE(GetAce(static_cast<PACL>(made.storeAcl.get()), 0, &entry));
    EXPECT_EQ(static_cast<ACE_HEADER*>(entry)->AceFlags, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE);
    chmod(hostPath(TEXT("C:\\")).c_str(), 0751);
    ASSERT_TRUE(SetSecurityDescriptorControl(&made.storeDescriptor, SE_DACL_PROTECTED, 0));
    ASSERT_TRUE(CreateDirectoryW(TEXT("C:\\folder"), &made.storeAttributes));
    EXPECT_EQ(fs::status(hostPath(TEXT("C:\\folder"))).permissions(), fs::perms{0751});
}

TEST_F(QueueStoreMachine, refusedOpeningLeavesItEmpty) {
    QueueStore store = makeStore();
    DWORD err = 0;
    EXPECT_FALSE(store.open(TEXT("C:\\"), owner(), false, err));
    EXPECT_TRUE(store.isEmpty());
    EXPECT_EQ(faults::openHandles(), 0U) << "the old root is let go";
    EXPECT_TRUE(store.open(context().storeRoot, owner(), false, err));
}

// No folder on the path can be renamed or deleted, by another process either.
TEST_F(QueueStoreMachine, keepsItsPathWhereItIs) {
    QueueStore store = makeStore();
    EXPECT_EQ(faults::openHandles(), 6U) << "the drive's own folder, and the five below it";
    for (const std::string& path :
         {std::string("C:\\Users"), std::string("C:\\Users\\operator"), std::string("C:\\Users\\operator\\AppData"),
          std::string("C:\\Users\\operator\\AppData\\Local"), utf8(context().storeRoot)}) {
        const WideString old = wide(path), moved = wide(path + "2");
        EXPECT_FALSE(MoveFileExW(old.c_str(), moved.c_str(), 0)) << path;
        EXPECT_EQ(GetLastError(), 32U) << path;
        const HANDLE handle = CreateFileW(old.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        EXPECT_EQ(handle, INVALID_HANDLE_VALUE) << path;
        EXPECT_EQ(GetLastError(), 32U) << path;
    }
    store = QueueStore();
    EXPECT_TRUE(MoveFileExW(context().storeRoot.c_str(), TEXT("C:\\moved"), 0));
}

TEST_F(QueueStoreMachine, plantedObjectsAreRefusedAndLeftAlone) {
    const std::string queue = ownQueue();
    const struct Place {
        std::string path;  // below the store root
        std::vector<std::string> operations;
    } places[] = {
        {"", {"open"}},
        {"/.lifecycle.lock", {"lease", "update", "remove", "list", "measure", "claim", "cleanup"}},
        {"/runtime", {"cleanup"}},
        {"/" + queue, {"lease", "measure", "claim", "cleanup"}},
        {"/" + queue + "/.display.lock", {"lease"}},
        {"/" + queue + "/.writer.lock", {"update", "remove", "measure", "claim", "cleanup"}},
        {"/" + queue + "/note_a.json", {"read", "update", "remove", "measure"}},
        {"/" + queue + "/{00000001-0002-0003-0405-060708090A0B}.tmp", {"update"}},
    };
    for (const Place& place : places) {
        for (const Plant& plant : kPlants) {
            for (const std::string& operation : place.operations) {
                SCOPED_TRACE(place.path + ", " + plant.what + ", " + operation);
                prepare(operation, operation != "cleanup");
                const fs::path path = root().string() + place.path, aside = path.string() + "-aside";
                const bool isTemporary = path.extension() == ".tmp", isNote = path.extension() == ".json";
                if (isTemporary) putPrivateFile(path, "planted");
                if (fs::is_directory(path) && plant.kind == Kind::HardLink) continue;  // folders have none
                plantAt(path, plant);
                const std::string before = stateOf(path) + stateOf(aside);
                DWORD err = 0;
                EXPECT_FALSE(perform(operation, err));
                // A listing tells that a note is a link or a folder before anything is opened.
                const bool isListed = isNote && operation == "measure" && err == 13;
                EXPECT_TRUE(isListed || err == (isTemporary ? 80 : 5)) << err;
                EXPECT_EQ(stateOf(path) + stateOf(aside), before);
                chmod(path.c_str(), 0700);
            }
        }
    }
}

// Folders above the root belong to others; what counts is that they are folders.
TEST_F(QueueStoreMachine, wayToTheRootHasNoLinks) {
    makeStore();
    const fs::path local = root().parent_path();
    chmod(local.c_str(), 0777);
    EXPECT_EQ(open(utf8(context().storeRoot)), 0U);
    plantAt(local, {"link", Kind::Link});
    EXPECT_EQ(open(utf8(context().storeRoot)), 5U);
    fs::remove(local);
    std::ofstream(local) << "file";
    EXPECT_EQ(open(utf8(context().storeRoot)), 5U);
}

// A link to nothing in the place of a lock makes nothing where it points.
TEST_F(QueueStoreMachine, lockIsNeverMadeThroughALink) {
    QueueStore store = makeStore();
    makeQueue(ownQueue());
    fs::create_symlink(folder() / "elsewhere", root() / ".lifecycle.lock");
    QueueLease lease;
    DWORD err = 0;
    EXPECT_FALSE(QueueLease::open(store, wide(ownQueue()), context().identity, lease, err));
    EXPECT_EQ(err, 5U);
    EXPECT_FALSE(fs::exists(folder() / "elsewhere"));
}

// Whoever takes several locks takes them in one order: recovery, lifecycle, then writer or display.
TEST_F(QueueStoreMachine, locksAreTakenInOneOrder) {
    const std::string
        first = "+.lifecycle.lock",
        last = " -.lifecycle.lock", writer = " +.writer.lock", both = first + writer + " -.writer.lock" + last,
        temporary = ".lock +{00000001-0002-0003-0405-060708090A0B}.tmp -{00000001-0002-0003-0405-060708090A0B}.tmp";
    const struct {
        std::string operation, openings, inCallback;
    } rows[] = {{"read", "", ""},
                {"list", first + last, ""},
                {"measure", both, ""},
                {"remove", both, ""},
                {"lease", first + " +.display.lock" + last + " -.display.lock", ""},
                {"update", first + " +.writer" + temporary + " -.writer.lock" + last, ""},
                {"cleanup", both, first + writer + " -.writer.lock "},
                {"claim", both, first + writer + " "}};
    for (const auto& row : rows) {
        prepare(row.operation, row.operation != "cleanup");
        heldInCallback_.clear();
        EXPECT_EQ(errorOf([&](DWORD& err) { return perform(row.operation, err); }), 0U) << row.operation;
        EXPECT_EQ(heldInCallback_ + takeExclusiveOpenings(), row.openings) << row.operation;
        EXPECT_EQ(heldInCallback_, row.inCallback) << row.operation;
    }
    const auto gone = [](const LogonIdentity&) { return OwnerState::Gone; };
    recoverQueues(store_, context().identity, gone, [](const WideString&) { return DWORD{0}; });
    const std::string pass = takeExclusiveOpenings();
    EXPECT_TRUE(pass.starts_with("+.recovery.lock " + first) && pass.ends_with(last + " -.recovery.lock")) << pass;
}

// Whatever call fails, the operation tells it, the note is whole, and nothing is left open, held or lying about. A
// search that fails never makes a store look empty.
TEST_F(QueueStoreMachine, everyFailingCallIsTold) {
    const std::string operations[] = {"open", "lease",   "read",  "update", "remove",
                                      "list", "measure", "claim", "cleanup"};
    for (const std::string& operation : operations) {
        for (const bool hasNote : {true, false}) {
            if (!hasNote && operation != "cleanup") continue;
            SCOPED_TRACE(operation);
            prepare(operation, hasNote);
            bool done = false;
            DWORD err = 0;
            const auto check = [&](bool fired) {
                const bool isRelease = !notices::takeDebugOutput().empty();  // told to the debugger where it fails
                const std::string after = notesIn(root());
                const bool isFull = operation == "cleanup" && hasNote;
                EXPECT_EQ(done, err == 0 && !isFull);
                EXPECT_TRUE(fired || err == 0);
                EXPECT_TRUE(!fired || err != 0 || isRelease || isFull || after == "new");
                EXPECT_TRUE(std::set<DWORD>({0, 1234, 5, 13, 87, 0x800704D2}).contains(err)) << err;
                EXPECT_TRUE(!isFull || callbacks_ == 0);
                const bool mayBeNew = operation == "update" || operation == "remove";
                EXPECT_TRUE(after == (hasNote ? "old" : "") ||
                            (mayBeNew && after == (operation == "update" ? "new" : "")))
                    << after;
                EXPECT_TRUE(!mayBeNew || !done || after != "old");
                prepare(operation, hasNote);
            };
            EXPECT_GT(forEachFailingCall([&] { done = perform(operation, err); }, check, 1234), 0U);
        }
    }
}
