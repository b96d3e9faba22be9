// Queues of logons that have ended: a recovery pass lists, measures, claims and shows them.
#include "applet/Recovery.h"

#include <map>
#include <set>

#include "machine/support/StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

namespace {

using Claim = std::pair<ClaimResult, long>;

Claim busy(long error) {
    return {ClaimResult::Busy, error};
}
Claim failed(long error) {
    return {ClaimResult::Failed, error};
}

}  // namespace

class RecoveryMachine : public StoreMachine {
  protected:
    // The n-th queue of a logon that has ended. It is listed before the queues of the own logon.
    static std::string foreign(unsigned n) { return "applet-00000001-" + hex(0x900 + n, 16) + "-0000000000000001"; }
    std::string claimed(unsigned n) const { return own_ + "-r-" + hex(n, 32); }
    fs::path makeQueue(const std::string& name, unsigned notes = 1, std::size_t size = 10) const {
        const fs::path queue = StoreMachine::makeQueue(name);
        for (unsigned i = 0; i < notes; ++i)
            putNote(queue, "note_" + std::to_string(i) + ".json", std::string(size, 'x'));
        return queue;
    }
    std::vector<std::string> queues() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(root()))
            if (entry.path().filename().string().starts_with("applet-")) found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    void removeQueues() const {
        for (const std::string& name : queues())
            fs::remove_all(root() / name);
    }

    // Lists up to `limit` queues in names_. After an error names_ must be empty.
    long list(DWORD limit = 100) {
        names_ = {TEXT("before")};
        isTruncated_ = true;
        const long error =
            errorOf([&](DWORD& err) { return store_.enumerateQueues(limit, names_, isTruncated_, err); });
        EXPECT_TRUE(error == 0 || (names_.empty() && !isTruncated_));
        return error;
    }
    long measure(const std::string& name) {
        return errorOf([&](DWORD& err) { return store_.measureQueue(wide(name), notes_, bytes_, err); });
    }
    // Measures the own queue, which must succeed. Returns "notes bytes".
    std::string size() {
        EXPECT_EQ(measure(own_), 0);
        return std::to_string(notes_) + " " + std::to_string(bytes_);
    }
    Claim claim(const std::string& name, OwnerState state = OwnerState::Gone) {
        WideString made = TEXT("before");
        DWORD err = 99;
        const auto lookUp = [&](const LogonIdentity&) { return state; };
        const ClaimResult result = store_.claimQueue(wide(name), context().identity, lookUp, made, err);
        claimedName_ = utf8(made);
        EXPECT_EQ(result == ClaimResult::Claimed, !made.empty());
        return {result, static_cast<long>(err)};
    }
    // Opens a queue like its display does.
    FileHandle show(const std::string& name) const {
        return FileHandle(CreateFileW(pathOf(name).c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    }

    // Runs a pass and returns its result as text. asked_ and started_ record its lookups and launches.
    std::string recovered() {
        asked_.clear();
        started_.clear();
        return recovered([&](const LogonIdentity& identity) {
            const std::string name = utf8(formatQueueName(identity));
            ++asked_[name];
            const auto state = states_.find(name);
            return state == states_.end() ? OwnerState::Gone : state->second;
        });
    }
    std::string recovered(const OwnerLookup& lookUp) {
        return text(recoverQueues(store_, context().identity, lookUp, [&](const WideString& name) {
            started_.push_back(utf8(name));
            const auto result = results_.find(started_.back());
            return result == results_.end() ? DWORD{0} : result->second;
        }));
    }
    // The non-zero counters and the error report.
    static std::string text(const RecoveryResult& result) {
        std::ostringstream out;
        const std::pair<const char*, DWORD> counters[] = {
            {"claimed", result.claimed}, {"dispatched", result.dispatched}, {"live", result.live},
            {"unknown", result.unknown}, {"deferred", result.deferred},     {"failed", result.failed}};
        for (const auto& [name, value] : counters)
            if (value != 0) out << name << "=" << value << " ";
        if (result.incomplete) out << "incomplete ";
        if (result.lastError != 0 || !result.stage.empty())
            out << report(utf8(result.stage), result.lastError, utf8(result.queue));
        return out.str();
    }
    static std::string report(const std::string& stage, DWORD error, const std::string& queue = "") {
        return "| " + stage + " " + queue + " " + std::to_string(error);
    }

    QueueStore store_ = makeStore();
    std::string own_ = ownQueue();
    std::vector<WideString> names_;
    bool isTruncated_ = false;
    DWORD notes_ = 0;
    ULONGLONG bytes_ = 0;
    std::string claimedName_;
    std::map<std::string, OwnerState> states_;
    std::map<std::string, DWORD> results_;
    std::map<std::string, unsigned> asked_;
    std::vector<std::string> started_;
};

TEST_F(RecoveryMachine, listsUpToTheLimit) {
    EXPECT_EQ(list(), 0);
    EXPECT_TRUE(names_.empty() && !isTruncated_) << "no queues";
    for (unsigned i = 0; i < 3; ++i)
        makeQueue(foreign(i));
    for (const DWORD limit : {3U, 2U}) {
        EXPECT_EQ(list(limit), 0);
        EXPECT_TRUE(names_.size() == limit && isTruncated_ == (limit == 2)) << limit;
    }
    EXPECT_EQ(list(0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(whileHeld(".lifecycle.lock", [&] { return list(); }), ERROR_SHARING_VIOLATION);
    store_ = QueueStore();
    EXPECT_EQ(list(), ERROR_INVALID_PARAMETER);
}

TEST_F(RecoveryMachine, unknownEntryFailsTheListing) {
    makeQueue(foreign(0));
    const fs::path stray = root() / foreign(7);
    const auto isRefused = [&](const fs::path& entry) {
        EXPECT_EQ(list(), ERROR_INVALID_DATA) << entry;
        fs::remove(entry);
    };
    isRefused(StoreMachine::makeQueue("applet-x"));
    putPrivateFile(stray, "");
    isRefused(stray);
    fs::create_symlink(root() / foreign(0), stray);
    isRefused(stray);
    EXPECT_EQ(list(), 0);
}

TEST_F(RecoveryMachine, measuresUpTo128NotesAnd32MiB) {
    const fs::path queue = makeQueue(own_, 0);
    putPrivateFile(queue / "{stale}.tmp", "x");
    EXPECT_EQ(size(), "0 0");
    makeQueue(own_, 128, 2);
    EXPECT_EQ(size(), "128 256");
    putNote(queue, "note_128.json", "x");
    EXPECT_EQ(measure(own_), ERROR_DISK_FULL);
    fs::remove_all(queue);
    makeQueue(own_, 16, 2 * kMiB);
    EXPECT_EQ(size(), "16 " + std::to_string(32 * kMiB));
    putNote(queue, "note_a.json", "x");
    EXPECT_EQ(measure(own_), ERROR_DISK_FULL);
}

TEST_F(RecoveryMachine, queueWithABadNoteCannotBeMeasured) {
    const fs::path queue = root() / own_, note = queue / "note_a.json", good = queue / "note_0.json";
    const std::tuple<const char*, std::function<void()>, long> rows[] = {
        {"empty note", [&] { putPrivateFile(note, ""); }, ERROR_INVALID_DATA},
        {"large note", [&] { putPrivateFile(note, std::string(2 * kMiB + 1, 'x')); }, ERROR_INVALID_DATA},
        {"another name", [&] { putNote(queue, "X.json", "x"); }, ERROR_INVALID_DATA},
        {"folder", [&] { fs::create_directory(note); }, ERROR_INVALID_DATA},
        {"link", [&] { fs::create_symlink(good, note); }, ERROR_INVALID_DATA},
        {"second link", [&] { fs::create_hard_link(good, root() / "second"); }, ERROR_ACCESS_DENIED},
        {"open to others", [&] { chmod(good.c_str(), 0644); }, ERROR_ACCESS_DENIED}};
    for (const auto& [what, spoil, error] : rows) {
        makeQueue(own_);
        spoil();
        EXPECT_EQ(measure(own_), error) << what;
        fs::remove_all(queue);
    }
}

TEST_F(RecoveryMachine, measuringNeedsAQueueWithoutAWriter) {
    EXPECT_EQ(measure("applet-x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(measure(own_), ERROR_FILE_NOT_FOUND) << "it has vanished";
    makeQueue(own_);
    EXPECT_EQ(whileHeld(own_ + "\\.writer.lock", [&] { return measure(own_); }), ERROR_SHARING_VIOLATION);
}

TEST_F(RecoveryMachine, claimRefusesInvalidArguments) {
    const OwnerLookup gone = [](const LogonIdentity&) { return OwnerState::Gone; };
    makeQueue(foreign(0));
    EXPECT_EQ(claim("applet-x"), failed(ERROR_INVALID_PARAMETER)) << "not the name of a queue";
    EXPECT_EQ(claim(foreign(1)), failed(ERROR_FILE_NOT_FOUND)) << "it has vanished";
    for (const auto& [identity, lookup] : {std::pair{LogonIdentity(), gone}, {context().identity, OwnerLookup()}}) {
        WideString made;
        DWORD err = 0;
        EXPECT_EQ(store_.claimQueue(wide(foreign(0)), identity, lookup, made, err), ClaimResult::Failed);
        EXPECT_EQ(err, DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST_F(RecoveryMachine, claimLeavesAQueueThatIsInUse) {
    const std::string queue = foreign(0);
    makeQueue(queue);
    for (const OwnerState state : {OwnerState::Live, OwnerState::Unknown})
        EXPECT_EQ(claim(queue, state), Claim(ClaimResult::OwnerNotGone, 0));
    const auto claimIt = [&] { return claim(queue); };
    for (const std::string& lock : {std::string(".lifecycle.lock"), queue + "\\.writer.lock"})
        EXPECT_EQ(whileHeld(lock, claimIt), busy(ERROR_SHARING_VIOLATION)) << lock;
    EXPECT_EQ(whileHeld(queue + "\\note_0.json", claimIt), busy(ERROR_ACCESS_DENIED)) << "an open file in it";
    {
        const FileHandle shown = show(queue);
        EXPECT_EQ(claimIt(), busy(ERROR_SHARING_VIOLATION)) << "displayed";
    }
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_LOCK_VIOLATION, 1234})
        EXPECT_EQ(whileFailing("SetFileInformationByHandle", 1, error, claimIt),
                  error == 1234 ? failed(1234) : busy(static_cast<long>(error)));
    EXPECT_EQ(queues(), std::vector<std::string>{queue});
}

TEST_F(RecoveryMachine, claimRenamesTheQueueForThisLogon) {
    makeQueue(foreign(0));
    ASSERT_EQ(claim(foreign(0)), Claim(ClaimResult::Claimed, 0));
    const std::string name = claimedName_;
    QueueName parsed;
    ASSERT_TRUE(parseQueueName(wide(name), parsed)) << name;
    EXPECT_TRUE(parsed.identity == context().identity);
    EXPECT_EQ(name.substr(49, 3), "-r-");
    EXPECT_EQ(name.find_first_of("abcdef", 52), std::string::npos) << "capitals only: " << name;
    EXPECT_EQ(queues(), std::vector<std::string>{name});
    EXPECT_EQ(contentOf(root() / name / "note_0.json"), std::string(10, 'x'));
    ASSERT_EQ(claim(name), Claim(ClaimResult::Claimed, 0));
    EXPECT_TRUE(claimedName_.size() == 84 && claimedName_ != name);
}

TEST_F(RecoveryMachine, claimFailsIfTheNewNameExists) {
    const fs::path inTheWay = root() / (own_ + "-r-00000001000200030405060708090A0B");
    makeQueue(foreign(0));
    putPrivateFile(inTheWay, "mine");
    setNextGuid({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
    EXPECT_EQ(claim(foreign(0)), failed(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(contentOf(inTheWay), "mine");
}

TEST_F(RecoveryMachine, claimedPathHasFewerThan260Characters) {
    for (const std::size_t length : {259U, 260U}) {
        const fs::path queue = openStoreOfLength(length - 84 - 1, foreign(0), store_);
        EXPECT_EQ(claim(foreign(0)),
                  length < 260 ? Claim(ClaimResult::Claimed, 0) : failed(ERROR_FILENAME_EXCED_RANGE));
        EXPECT_EQ(fs::exists(queue), length == 260);
    }
}

// Wherever a pass is killed, the queue stays complete under its old or its new name, and the next pass shows it.
TEST_F(RecoveryMachine, killedPassLeavesTheQueueForTheNextPass) {
    std::map<std::string, unsigned> seen;
    const auto prepare = [&] {
        removeQueues();
        makeQueue(foreign(0));
    };
    const auto check = [&] {
        ASSERT_EQ(queues().size(), 1U);
        EXPECT_EQ(contentOf(root() / queues()[0] / "note_0.json"), std::string(10, 'x'));
        const bool isClaimed = queues()[0] != foreign(0);
        EXPECT_EQ(recovered(), isClaimed ? "dispatched=1 " : "claimed=1 dispatched=1 ");
        ++seen[isClaimed ? "claimed" : "as it was"];
    };
    forEachKilledCall(
        prepare, [] { return 0; }, [&](int) { recovered(); }, check);
    EXPECT_TRUE(seen["as it was"] > 0 && seen["claimed"] > 0);
}

TEST_F(RecoveryMachine, passHandlesEachQueueByTheStateOfItsOwner) {
    EXPECT_EQ(recovered(), "") << "an empty store";
    for (const std::string& queue : {own_, claimed(1), foreign(0), foreign(1), foreign(2)})
        makeQueue(queue);
    makeQueue(foreign(3), 0);
    states_ = {{foreign(1), OwnerState::Live}, {foreign(2), OwnerState::Unknown}};
    EXPECT_EQ(recovered(), "claimed=1 dispatched=3 live=1 unknown=1 ");
    ASSERT_EQ(started_.size(), 3U);
    EXPECT_TRUE(started_[0] == own_ && started_[1] == claimed(1)) << "the own ones first, as they are listed";
    EXPECT_TRUE(started_[2].starts_with(own_ + "-r-"));
    EXPECT_TRUE(fs::exists(root() / foreign(3))) << "an empty one is left";
    EXPECT_EQ(asked_[foreign(0)], 2U) << "once more under the locks";
    EXPECT_FALSE(asked_.contains(own_));
    EXPECT_EQ(recovered(), "dispatched=3 live=1 unknown=1 ") << "now it is an own one";
}

TEST_F(RecoveryMachine, displayedQueueCountsAsDispatched) {
    makeQueue(own_);
    makeQueue(claimed(1));
    results_ = {{own_, ERROR_ALREADY_EXISTS}, {claimed(1), 1234}};
    EXPECT_EQ(recovered(), "dispatched=1 failed=1 " + report("dispatch queue", 1234, claimed(1)));
}

TEST_F(RecoveryMachine, onlyOnePassRunsAtATime) {
    makeQueue(own_);
    const auto pass = [&] { return recovered(); };
    EXPECT_EQ(whileHeld(".recovery.lock", pass), "deferred=1 " + report("lock recovery", ERROR_SHARING_VIOLATION));
    chmod((root() / ".recovery.lock").c_str(), 0640);
    EXPECT_EQ(pass(), "failed=1 " + report("lock recovery", ERROR_ACCESS_DENIED));
    fs::remove(root() / ".recovery.lock");
    EXPECT_EQ(whileHeld(".lifecycle.lock", pass), "failed=1 " + report("enumerate queues", ERROR_SHARING_VIOLATION));
    StoreMachine::makeQueue("applet-x");
    EXPECT_EQ(pass(), "failed=1 " + report("enumerate queues", ERROR_INVALID_DATA));
    EXPECT_TRUE(started_.empty()) << "one stray entry, and no queue is touched";
}

TEST_F(RecoveryMachine, passRefusesInvalidArguments) {
    const OwnerLookup owner = [](const LogonIdentity&) { return OwnerState::Gone; };
    const QueueDispatch dispatch = [](const WideString&) { return DWORD{0}; };
    const LogonIdentity self = context().identity;
    for (const RecoveryResult& result :
         {recoverQueues(QueueStore(), self, owner, dispatch), recoverQueues(store_, {}, owner, dispatch),
          recoverQueues(store_, self, nullptr, dispatch), recoverQueues(store_, self, owner, nullptr)})
        EXPECT_EQ(text(result), "failed=1 " + report("validate recovery arguments", ERROR_INVALID_PARAMETER));
}

TEST_F(RecoveryMachine, ownQueueOverBudgetDefersThoseOfOthers) {
    makeQueue(own_, 100);
    makeQueue(claimed(1), 100);
    makeQueue(foreign(0));
    EXPECT_EQ(recovered(), "dispatched=1 deferred=2 ");
    EXPECT_EQ(started_, std::vector<std::string>{own_});
    EXPECT_TRUE(asked_.empty()) << "nobody asks for the owner of a queue that is barred";
}

TEST_F(RecoveryMachine, budgetIs128NotesAnd32MiB) {
    makeQueue(foreign(0), 100);
    makeQueue(foreign(1), 29);
    makeQueue(foreign(2), 28);
    EXPECT_EQ(recovered(), "claimed=2 dispatched=2 deferred=1 ") << "another logon's queue over budget bars nobody";
    removeQueues();
    makeQueue(own_, 15, 2 * kMiB);
    makeQueue(foreign(0), 1, 2 * kMiB);
    makeQueue(foreign(1), 1, 1);
    EXPECT_EQ(recovered(), "claimed=1 dispatched=2 deferred=1 ");
}

TEST_F(RecoveryMachine, unmeasurableOwnQueueDefersThoseOfOthers) {
    makeQueue(own_);
    makeQueue(foreign(0));
    EXPECT_EQ(whileHeld(own_ + "\\.writer.lock", [&] { return recovered(); }), "deferred=2 ");
    putNote(root() / own_, "X.json", "x");
    EXPECT_EQ(recovered(), "deferred=1 failed=1 " + report("measure queue", ERROR_INVALID_DATA, own_));
}

TEST_F(RecoveryMachine, claimedQueueKeepsItsNameAndBudgetIfItsLaunchFails) {
    makeQueue(foreign(0), 100);
    makeQueue(foreign(1), 100);
    EXPECT_EQ(recovered(), "claimed=1 dispatched=1 deferred=1 ");
    ASSERT_EQ(started_.size(), 1U);
    const std::string shown = started_[0];
    results_[shown] = ERROR_ACCESS_DENIED;
    EXPECT_EQ(recovered(), "deferred=1 failed=1 " + report("dispatch queue", ERROR_ACCESS_DENIED, shown));
}

TEST_F(RecoveryMachine, deferredClaimReportsItsReason) {
    makeQueue(foreign(0));
    {
        const FileHandle shown = show(foreign(0));
        EXPECT_EQ(recovered(), "deferred=1 " + report("defer queue claim", ERROR_SHARING_VIOLATION, foreign(0)));
    }
    EXPECT_EQ(whileFailing("CoCreateGuid", 1, static_cast<DWORD>(E_FAIL), [&] { return recovered(); }),
              "failed=1 " + report("claim queue", static_cast<DWORD>(E_FAIL), foreign(0)));
    unsigned asked = 0;
    const auto isBack = [&](const LogonIdentity&) { return ++asked == 1 ? OwnerState::Gone : OwnerState::Live; };
    EXPECT_EQ(recovered(isBack), "deferred=1 ") << "the owner is back by the time of the claim";
}

// Between its two owner lookups a pass opens several files. Each one in turn is missing. While the queue is measured
// this counts as a failure; while it is claimed, another process was faster.
TEST_F(RecoveryMachine, queueThatVanishesBeforeItsClaimIsDeferred) {
    makeQueue(foreign(0));
    for (const DWORD error : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND}) {
        std::set<std::string> results;
        unsigned asked = 1;
        for (unsigned use = 1; asked == 1; ++use) {
            asked = 0;
            const auto lookUp = [&](const LogonIdentity&) {
                if (++asked == 1) failCall("CreateFileW", use, error);
                return asked == 1 ? OwnerState::Gone : OwnerState::Live;
            };
            results.insert(recovered(lookUp));
            faults::clear();
        }
        EXPECT_EQ(results,
                  (std::set<std::string>{"deferred=1 ", "deferred=1 " + report("defer queue claim", error, foreign(0)),
                                         "failed=1 " + report("measure queue", error, foreign(0))}));
    }
}

TEST_F(RecoveryMachine, handlesAStoreOf4096QueuesButNotOf4097) {
    for (unsigned i = 0; i < 4095; ++i)
        StoreMachine::makeQueue(foreign(i));
    makeQueue(foreign(4095));
    EXPECT_EQ(recovered(), "claimed=1 dispatched=1 ");
    StoreMachine::makeQueue(foreign(4096));
    EXPECT_EQ(recovered(), "deferred=4096 incomplete " + report("enumerate queues", ERROR_MORE_DATA));
    EXPECT_TRUE(asked_.empty() && started_.empty());
}

// Each failing call is counted or does no harm, and no lock stays held.
TEST_F(RecoveryMachine, everyFailingCallOfAPassIsCounted) {
    std::string result;
    const auto reset = [&] {
        removeQueues();
        makeQueue(own_);
        makeQueue(foreign(0));
    };
    const auto check = [&](bool fired) {
        notices::takeDebugOutput();
        EXPECT_TRUE(has(result, "dispatched=2") || (fired && (has(result, "failed=") || has(result, "deferred="))))
            << result;
        EXPECT_EQ(queues().size(), 2U);
        reset();
    };
    reset();
    forEachFailingCall([&] { result = recovered(); }, check, 1234);
}
