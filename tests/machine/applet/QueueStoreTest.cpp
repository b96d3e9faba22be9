// The store: when it opens, and which objects in it are refused.

#include <set>

#include "applet/Recovery.h"
#include "applet/StoreFiles.h"
#include "machine/support/StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

namespace {

// The properties of a file that must not change.
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
    mode_t bits = 0;  // the mode bits that stand for the access list
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

// Puts a bad object in place of a good one. The good one is renamed to "-aside" if the bad one replaces it.
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

// The notes of all queues, and all other files except locks.
std::string notesIn(const fs::path& root) {
    std::string text;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() && entry.path().extension() != ".lock") text += contentOf(entry.path());
    return text;
}

constexpr const WCHAR* kNote = TEXT("note_a.json");
const std::set<DWORD> kPossible = {0,         1234, ERROR_ACCESS_DENIED, ERROR_INVALID_DATA, ERROR_INVALID_PARAMETER,
                                   0x800704D2};

}  // namespace

class QueueStoreMachine : public StoreMachine {
  protected:
    long open(const std::string& path, bool createRoot = false) const {
        QueueStore store;
        const long error = errorOf([&](DWORD& err) { return store.open(wide(path), owner(), createRoot, err); });
        EXPECT_EQ(store.isEmpty(), error != 0) << path;
        return error;
    }
    long openRoot(bool createRoot = false) const { return open(utf8(context().storeRoot), createRoot); }

    // The operations on the own queue and its note.
    struct Operation {
        const char* name;
        bool (*perform)(QueueStoreMachine& test, DWORD& err);
        bool needsLease = false;
        const char* noteAfter = "old";
    };
    static const Operation kOperations[9];
    static const Operation& operation(const std::string& name) {
        return *std::find_if(std::begin(kOperations), std::end(kOperations),
                             [&](const Operation& each) { return each.name == name; });
    }
    // Creates a store with one queue and everything that the operation expects, with or without a note.
    void prepare(const Operation& operation, bool hasNote) {
        held_ = QueueLease();
        store_ = QueueStore();
        fs::remove_all(root());
        fs::remove_all(root().string() + "-aside");
        store_ = makeStore();
        const fs::path queue = makeQueue(ownQueue());
        for (const fs::path& lock : {queue / ".writer.lock", queue / ".display.lock", root() / ".lifecycle.lock"})
            putPrivateFile(lock, "");
        if (hasNote) putNote(queue, "note_a.json", "old");
        if (operation.needsLease) held_ = lease(store_, ownQueue());
        if (operation.name == std::string("open")) store_ = QueueStore();
        setNextGuid({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
        callbacks_ = 0;
        heldInCallback_.clear();
        takeExclusiveOpenings();
    }
    // Checks that the operation refuses this object in place of a good one.
    void expectRefused(const Operation& operation, const fs::path& path, const Plant& plant) {
        SCOPED_TRACE(path.string() + ", " + plant.what + ", " + operation.name);
        prepare(operation, operation.name != std::string("cleanup"));
        const fs::path aside = path.string() + "-aside";
        const bool isTemporary = path.extension() == ".tmp", isNote = path.extension() == ".json";
        if (isTemporary) putPrivateFile(path, "planted");
        if (fs::is_directory(path) && plant.kind == Kind::HardLink) return;  // folders have no hard links
        plantAt(path, plant);
        const std::string before = stateOf(path) + stateOf(aside);
        const long error = errorOf([&](DWORD& err) { return operation.perform(*this, err); });
        // The listing shows that a note is a link or a folder, so nothing is opened.
        const bool isListed = isNote && operation.name == std::string("measure") && error == ERROR_INVALID_DATA;
        EXPECT_TRUE(isListed || error == (isTemporary ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED)) << error;
        EXPECT_EQ(stateOf(path) + stateOf(aside), before);
        chmod(path.c_str(), 0700);
    }
    DWORD noteCallback() {
        ++callbacks_;
        heldInCallback_ = takeExclusiveOpenings() + " ";
        return 0;
    }

    const WideString queue_ = wide(ownQueue());
    QueueStore store_;
    QueueLease held_;
    unsigned callbacks_ = 0;
    std::string heldInCallback_;  // the locks that were held at that time
};

const QueueStoreMachine::Operation QueueStoreMachine::kOperations[9] = {
    {"open",
     [](auto& test, DWORD& err) { return test.store_.open(test.context().storeRoot, test.owner(), false, err); }},
    {"lease",
     [](auto& test, DWORD& err) {
         QueueLease lease;
         return QueueLease::open(test.store_, test.queue_, test.context().identity, lease, err);
     }},
    {"read",
     [](auto& test, DWORD& err) {
         std::string content;
         return test.held_.readNote(kNote, content, err);
     },
     true},
    {"update", [](auto& test, DWORD& err) { return test.held_.updateNote(kNote, "new", err); }, true, "new"},
    {"remove", [](auto& test, DWORD& err) { return test.held_.removeNote(kNote, err); }, true, ""},
    {"list",
     [](auto& test, DWORD& err) {
         std::vector<WideString> names;
         bool truncated = false;
         return test.store_.enumerateQueues(10, names, truncated, err);
     }},
    {"measure",
     [](auto& test, DWORD& err) {
         DWORD count = 0;
         ULONGLONG bytes = 0;
         return test.store_.measureQueue(test.queue_, count, bytes, err);
     }},
    {"claim",
     [](auto& test, DWORD& err) {
         WideString newName;
         const auto gone = [&](const LogonIdentity&) { return test.noteCallback(), OwnerState::Gone; };
         return test.store_.claimQueue(test.queue_, test.context().identity, gone, newName, err) ==
                ClaimResult::Claimed;
     }},
    {"cleanup",
     [](auto& test, DWORD& err) { return test.store_.cleanupEmptyStore([&] { return test.noteCallback(); }, err); }}};

TEST_F(QueueStoreMachine, opensOnlyPlainLocalPaths) {
    makeStore();
    fs::create_directories(folder() / "drive_c/dir");
    const std::string root = utf8(context().storeRoot);
    const std::string longest = "C:\\" + std::string(128, 'x') + "\\" + std::string(127, 'y');  // 259 characters
    const std::pair<long, std::vector<std::string>> rows[] = {
        {0, {root, "c" + root.substr(1)}},
        {ERROR_INVALID_PARAMETER,
         {"", "C:\\", "C:", root + "\\", "\\\\server\\share", "\\dir\\store", "1:\\dir", "@:\\dir", "[:\\dir",
          "`:\\dir", "{:\\dir", "C:/dir", "C:dir\\store", longest + "y"}},
        {ERROR_BAD_PATHNAME,
         {"C:\\dir\\\\x", "C:\\.\\x", "C:\\..\\x", "C:\\dir\\x.", "C:\\dir \\x", "C:\\dir/x", "C:\\dir\\x:y",
          "C:\\dir\\x*", "C:\\dir\\x?", "C:\\dir\\x\"", "C:\\dir\\<x", "C:\\dir\\x>", "C:\\dir\\x|"}},
        // Each folder is opened before the next one is checked.
        {ERROR_FILE_NOT_FOUND, {longest, "C:\\dir\\missing", "C:\\missing\\x", "C:\\missing\\x."}}};
    for (const auto& [error, paths] : rows)
        for (const std::string& path : paths)
            EXPECT_EQ(open(path), error) << path;
    for (const char* drive : {"A", "Z", "a", "z"})
        EXPECT_NE(open(drive + std::string(":\\dir\\missing")), ERROR_INVALID_PARAMETER) << drive;
    EXPECT_EQ(faults::openHandles() + faults::openAllocations(), 0U);
}

TEST_F(QueueStoreMachine, openNeedsAValidUserSid) {
    makeStore();
    BYTE noSid[12] = {9, 1};
    for (const PSID sid : {PSID{nullptr}, PSID{noSid}}) {
        QueueStore store;
        EXPECT_EQ(errorOf([&](DWORD& err) { return store.open(context().storeRoot, sid, false, err); }),
                  ERROR_INVALID_PARAMETER);
    }
    EXPECT_EQ(faults::openHandles() + faults::openAllocations(), 0U);
}

TEST_F(QueueStoreMachine, createsOnlyAPrivateRoot) {
    fs::create_directories(root().parent_path());
    EXPECT_EQ(openRoot(), ERROR_FILE_NOT_FOUND);
    chmod(root().parent_path().c_str(), 0755);
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        fs::remove(root());
        const mode_t before = umask(mask);
        EXPECT_EQ(openRoot(true), 0);
        umask(before);
        EXPECT_EQ(fs::status(root()).permissions(), kPrivateFolder) << "whatever the umask, and the folder above";
    }
    EXPECT_EQ(openRoot(true), 0) << "it is there already";
    EXPECT_EQ(open("C:\\missing\\store", true), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(fs::is_empty(root())) << "opening makes no lock";
}

TEST_F(QueueStoreMachine, failsIfTheRootCannotBeCreated) {
    fs::create_directories(root().parent_path());
    EXPECT_EQ(whileFailing("CreateDirectoryW", 1, 1234, [&] { return openRoot(true); }), 1234);
    EXPECT_FALSE(fs::exists(root()));
    putPrivateFile(root(), "file");
    EXPECT_EQ(openRoot(true), ERROR_ACCESS_DENIED);
    EXPECT_EQ(contentOf(root()), "file");
}

TEST_F(QueueStoreMachine, contentOfANewFolderInheritsItsList) {
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

TEST_F(QueueStoreMachine, failedOpenLeavesTheStoreEmpty) {
    QueueStore store = makeStore();
    DWORD err = 0;
    EXPECT_FALSE(store.open(TEXT("C:\\"), owner(), false, err));
    EXPECT_TRUE(store.isEmpty());
    EXPECT_EQ(faults::openHandles(), 0U) << "the old root is let go";
    EXPECT_TRUE(store.open(context().storeRoot, owner(), false, err));
}

// No process can rename or delete a folder of the path.
TEST_F(QueueStoreMachine, foldersOfItsPathCannotBeMoved) {
    QueueStore store = makeStore();
    EXPECT_EQ(faults::openHandles(), 6U) << "the drive's own folder, and the five below it";
    for (fs::path path = root(); path != hostPath(TEXT("C:\\")); path = path.parent_path()) {
        const WideString old = productPath(path), moved = productPath(path.string() + "2");
        EXPECT_EQ(errorAfter(MoveFileExW(old.c_str(), moved.c_str(), 0)), ERROR_SHARING_VIOLATION) << path;
        const FileHandle claimed(CreateFileW(old.c_str(), DELETE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        EXPECT_EQ(errorAfter(bool(claimed)), ERROR_SHARING_VIOLATION) << path;
    }
    store = QueueStore();
    EXPECT_TRUE(MoveFileExW(context().storeRoot.c_str(), TEXT("C:\\moved"), 0));
}

TEST_F(QueueStoreMachine, plantedObjectsAreRefusedAndNotChanged) {
    const std::string queue = ownQueue();
    // Paths relative to the store root.
    const std::pair<std::string, std::vector<const char*>> places[] = {
        {"", {"open"}},
        {"/.lifecycle.lock", {"lease", "update", "remove", "list", "measure", "claim", "cleanup"}},
        {"/runtime", {"cleanup"}},
        {"/" + queue, {"lease", "measure", "claim", "cleanup"}},
        {"/" + queue + "/.display.lock", {"lease"}},
        {"/" + queue + "/.writer.lock", {"update", "remove", "measure", "claim", "cleanup"}},
        {"/" + queue + "/note_a.json", {"read", "update", "remove", "measure"}},
        {"/" + queue + "/{00000001-0002-0003-0405-060708090A0B}.tmp", {"update"}}};
    for (const auto& [place, operations] : places)
        for (const Plant& plant : kPlants)
            for (const char* name : operations)
                expectRefused(operation(name), root().string() + place, plant);
}

// Folders above the root may belong to others, but must be real folders.
TEST_F(QueueStoreMachine, pathToTheRootMayNotContainLinks) {
    makeStore();
    const fs::path local = root().parent_path();
    chmod(local.c_str(), 0777);
    EXPECT_EQ(openRoot(), 0);
    plantAt(local, {"link", Kind::Link});
    EXPECT_EQ(openRoot(), ERROR_ACCESS_DENIED);
    fs::remove(local);
    std::ofstream(local) << "file";
    EXPECT_EQ(openRoot(), ERROR_ACCESS_DENIED);
}

// If a lock file is a dangling link, opening it must not create the target.
TEST_F(QueueStoreMachine, lockIsNeverCreatedThroughALink) {
    store_ = makeStore();
    makeQueue(ownQueue());
    fs::create_symlink(folder() / "elsewhere", root() / ".lifecycle.lock");
    EXPECT_EQ(errorOf([&](DWORD& err) { return operation("lease").perform(*this, err); }), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(fs::exists(folder() / "elsewhere"));
}

// Several locks are always taken in this order: recovery, lifecycle, then writer or display.
TEST_F(QueueStoreMachine, locksAreTakenInOneOrder) {
    const std::string
        first = "+.lifecycle.lock",
        last = " -.lifecycle.lock", writer = " +.writer.lock", both = first + writer + " -.writer.lock" + last,
        temporary = ".lock +{00000001-0002-0003-0405-060708090A0B}.tmp -{00000001-0002-0003-0405-060708090A0B}.tmp";
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"read", "", ""},
        {"list", first + last, ""},
        {"measure", both, ""},
        {"remove", both, ""},
        {"lease", first + " +.display.lock" + last + " -.display.lock", ""},
        {"update", first + " +.writer" + temporary + " -.writer.lock" + last, ""},
        {"cleanup", both, first + writer + " -.writer.lock "},
        {"claim", both, first + writer + " "}};
    for (const auto& [name, openings, inCallback] : rows) {
        prepare(operation(name), name != std::string("cleanup"));
        EXPECT_EQ(errorOf([&, &each = operation(name)](DWORD& err) { return each.perform(*this, err); }), 0) << name;
        EXPECT_EQ(heldInCallback_ + takeExclusiveOpenings(), openings) << name;
        EXPECT_EQ(heldInCallback_, inCallback) << name;
    }
    const auto gone = [](const LogonIdentity&) { return OwnerState::Gone; };
    recoverQueues(store_, context().identity, gone, [](const WideString&) { return DWORD{0}; });
    const std::string pass = takeExclusiveOpenings();
    EXPECT_TRUE(pass.starts_with("+.recovery.lock " + first) && pass.ends_with(last + " -.recovery.lock")) << pass;
}

// Whichever call fails, the operation returns its error, the note is complete, and no handle, lock or temporary file is
// left.
TEST_F(QueueStoreMachine, everyFailingCallReturnsAnError) {
    for (const Operation& each : kOperations) {
        SCOPED_TRACE(each.name);
        const std::string before = each.name == std::string("cleanup") ? "" : "old", after = each.noteAfter;
        const bool isUpdate = after == "new";
        bool done = false;
        DWORD err = 0;
        const auto check = [&](bool fired) {
            const bool isRelease =
                !notices::takeDebugOutput().empty();  // a failing release call only writes a debug line
            const std::string now = notesIn(root());
            EXPECT_EQ(done, err == 0);
            EXPECT_TRUE(fired ? err != 0 || isRelease || (isUpdate && now == "new") : err == 0);
            EXPECT_TRUE(kPossible.contains(err)) << err;
            EXPECT_TRUE(now == before || now == after) << now;
            EXPECT_TRUE(!done || after == "old" || now != "old");
            prepare(each, !before.empty());
        };
        prepare(each, !before.empty());
        forEachFailingCall([&] { done = each.perform(*this, err); }, check, 1234);
    }
}

TEST_F(QueueStoreMachine, failedSearchNeverMakesAStoreLookEmpty) {
    const Operation& cleanup = operation("cleanup");
    bool done = false;
    DWORD err = 0;
    const auto check = [&](bool fired) {
        EXPECT_TRUE(!done && callbacks_ == 0);
        EXPECT_TRUE((fired || err == 0) && kPossible.contains(err)) << err;
        EXPECT_EQ(notesIn(root()), "old");
        notices::takeDebugOutput();
        prepare(cleanup, true);
    };
    prepare(cleanup, true);
    forEachFailingCall([&] { done = cleanup.perform(*this, err); }, check, 1234);
}
