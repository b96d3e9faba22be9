// Queues that logons left behind: listed, measured, claimed, and walked through by a recovery pass.
#include <windows.h>

#include <map>

#include "StoreFixture.h"
#include "applet/Recovery.h"

using namespace AppletNotes;
using namespace platform;

class RecoveryMachine : public StoreMachine {
  protected:
    RecoveryMachine() : store_(makeStore()), own_(ownQueue()) {}

    // The n-th queue of a logon that is over. It is listed before those of the own logon.
    static std::string foreign(unsigned n) { return "applet-00000001-" + hex(0x900 + n, 16) + "-0000000000000001"; }
    std::string claimed(unsigned n) const { return own_ + "-r-" + hex(n, 32); }
    fs::path makeQueue(const std::string& name, unsigned notes = 1, std::size_t size = 10) const {
        const fs::path queue = StoreMachine::makeQueue(name);
        for (unsigned i = 0; i < notes; ++i)
            putNote(queue, "note_" + std::to_string(i) + ".json", std::string(size, 'x'));
        return queue;
    }
    void removeQueues() const {
        for (const auto& entry : fs::directory_iterator(root()))
            if (entry.path().filename().string().starts_with("applet-")) fs::remove_all(entry);
    }
    std::vector<std::string> queues() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(root()))
            if (entry.path().filename().string().starts_with("applet-")) found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    DWORD measure(const std::string& name, DWORD& count, ULONGLONG& bytes) const {
        return errorOf([&](DWORD& err) { return store_.measureQueue(wide(name), count, bytes, err); });
    }
    DWORD measure(const std::string& name) const {
        DWORD count = 0;
        ULONGLONG bytes = 0;
        return measure(name, count, bytes);
    }
    ClaimResult claim(const std::string& name, std::string& newName, DWORD& err,
                      OwnerState state = OwnerState::Gone) const {
        WideString made = TEXT("before");
        const ClaimResult result = store_.claimQueue(
            wide(name), context().identity, [&](const LogonIdentity&) { return state; }, made, err);
        newName = utf8(made);
        EXPECT_EQ(result == ClaimResult::Claimed, !newName.empty());
        return result;
    }
    void isNotClaimed(const std::string& name, ClaimResult result, DWORD wanted, const std::string& what) const {
        std::string newName;
        DWORD err = 99;
        EXPECT_EQ(claim(name, newName, err), result) << what;
        EXPECT_EQ(err, wanted) << what;
    }
    // A queue as its display has it.
    HANDLE show(const std::string& name) const {
        return CreateFileW((context().storeRoot + TEXT("\\") + wide(name)).c_str(), FILE_LIST_DIRECTORY,
                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                           nullptr);
    }

    // A pass, told who is who; whom it asked and what it started is in asked_ and started_.
    RecoveryResult recover() {
        asked_.clear();
        started_.clear();
        return recoverQueues(
            store_, context().identity,
            [&](const LogonIdentity& identity) {
                const std::string name = utf8(formatQueueName(identity));
                ++asked_[name];
                const auto state = states_.find(name);
                return state == states_.end() ? OwnerState::Gone : state->second;
            },
            [&](const WideString& name) {
                started_.push_back(utf8(name));
                const auto result = results_.find(started_.back());
                return result == results_.end() ? DWORD{0} : result->second;
            });
    }
    // The counters as the log has them, and the report behind them.
    static std::string text(const RecoveryResult& result) {
        std::ostringstream out;
        const std::pair<const char*, DWORD> counters[] = {
            {"claimed", result.claimed}, {"dispatched", result.dispatched}, {"live", result.live},
            {"unknown", result.unknown}, {"deferred", result.deferred},     {"failed", result.failed}};
        for (const auto& [name, value] : counters)
            if (value != 0) out << name << "=" << value << " ";
        if (result.incomplete) out << "incomplete ";
        if (result.lastError != 0 || !result.stage.empty())
            out << "| " << utf8(result.stage) << " " << utf8(result.queue) << " " << result.lastError;
        return out.str();
    }
    std::string recovered() { return text(recover()); }

    QueueStore store_;
    std::string own_;
    std::map<std::string, OwnerState> states_;
    std::map<std::string, DWORD> results_;
    std::map<std::string, unsigned> asked_;
    std::vector<std::string> started_;
};

TEST_F(RecoveryMachine, listingIsWholeOrNothing) {
    std::vector<WideString> names = {TEXT("before")};
    bool truncated = true;
    const auto list = [&](DWORD limit) {
        return errorOf([&](DWORD& err) { return store_.enumerateQueues(limit, names, truncated, err); });
    };
    EXPECT_EQ(list(10), 0U);
    EXPECT_TRUE(names.empty() && !truncated) << "no queues";
    for (unsigned i = 0; i < 3; ++i)
        makeQueue(foreign(i));
    for (const DWORD limit : {3U, 2U}) {
        EXPECT_EQ(list(limit), 0U);
        EXPECT_EQ(names.size(), limit);
        EXPECT_EQ(truncated, limit == 2);
    }
    EXPECT_EQ(list(0), 87U);
    EXPECT_EQ(errorOf([&](DWORD& err) { return QueueStore().enumerateQueues(1, names, truncated, err); }), 87U);
    const HANDLE lifecycle = hold(".lifecycle.lock");
    EXPECT_EQ(list(3), 32U);
    CloseHandle(lifecycle);

    const auto strayIsRefused = [&](const fs::path& stray, const char* what) {
        EXPECT_EQ(list(100), 13U) << what;
        EXPECT_TRUE(names.empty() && !truncated) << what;
        fs::remove(stray);
    };
    strayIsRefused(StoreMachine::makeQueue("applet-x"), "folder");
    putPrivateFile(root() / foreign(7), "");
    strayIsRefused(root() / foreign(7), "file");
    fs::create_symlink(root() / foreign(0), root() / foreign(7));
    strayIsRefused(root() / foreign(7), "link");
    EXPECT_EQ(list(100), 0U);
}

TEST_F(RecoveryMachine, measuringKeepsToTheLimits) {
    DWORD count = 9;
    ULONGLONG bytes = 9;
    EXPECT_EQ(measure("applet-x"), 87U);
    EXPECT_EQ(measure(own_), 2U) << "it has vanished";
    const fs::path queue = makeQueue(own_, 0);
    putPrivateFile(queue / "{stale}.tmp", "x");
    EXPECT_EQ(measure(own_, count, bytes), 0U);
    EXPECT_TRUE(count == 0 && bytes == 0);

    for (unsigned i = 0; i < 128; ++i)
        putNote(queue, "note_" + std::to_string(i) + ".json", "xy");
    EXPECT_EQ(measure(own_, count, bytes), 0U);
    EXPECT_TRUE(count == 128 && bytes == 256);
    putNote(queue, "note_128.json", "x");
    EXPECT_EQ(measure(own_), 112U);
    fs::remove_all(queue);
    makeQueue(own_, 16, 2 * kMiB);
    EXPECT_EQ(measure(own_, count, bytes), 0U);
    EXPECT_EQ(bytes, 32 * kMiB);
    putNote(queue, "note_a.json", "x");
    EXPECT_EQ(measure(own_), 112U);
    fs::remove_all(queue);

    const std::tuple<const char*, std::function<void()>, DWORD> spoilt[] = {
        {"empty note", [&] { putNote(queue, "note_a.json", ""); }, 13},
        {"large note", [&] { putNote(queue, "note_a.json", std::string(2 * kMiB + 1, 'x')); }, 13},
        {"name of no note", [&] { putNote(queue, "X.json", "x"); }, 13},
        {"folder", [&] { fs::create_directory(queue / "note_a.json"); }, 13},
        {"link", [&] { fs::create_symlink(queue / "note_0.json", queue / "note_a.json"); }, 13},
        {"second link", [&] { fs::create_hard_link(queue / "note_0.json", root() / "second"); }, 5},
        {"open to others", [&] { chmod((queue / "note_0.json").c_str(), 0644); }, 5}};
    for (const auto& [what, spoil, err] : spoilt) {
        makeQueue(own_);
        spoil();
        EXPECT_EQ(measure(own_), err) << what;
        fs::remove_all(queue);
    }
    makeQueue(own_);
    const HANDLE writer = hold(own_ + "\\.writer.lock");
    EXPECT_EQ(measure(own_), 32U) << "a writer is at work";
    CloseHandle(writer);
}

TEST_F(RecoveryMachine, claimRenamesTheQueueOfAGoneLogonOnly) {
    std::string name;
    DWORD err = 99;
    const std::string queue = foreign(0);
    makeQueue(queue);
    for (const OwnerState state : {OwnerState::Live, OwnerState::Unknown}) {
        EXPECT_EQ(claim(queue, name, err, state), ClaimResult::OwnerNotGone);
        EXPECT_EQ(err, 0U);
    }
    isNotClaimed("applet-x", ClaimResult::Failed, 87, "no queue's name");
    const OwnerLookup gone = [](const LogonIdentity&) { return OwnerState::Gone; };
    for (const auto& [identity, lookup] : {std::pair{LogonIdentity(), gone}, {context().identity, OwnerLookup()}}) {
        WideString made;
        EXPECT_EQ(store_.claimQueue(wide(queue), identity, lookup, made, err), ClaimResult::Failed);
        EXPECT_EQ(err, 87U);
    }
    isNotClaimed(foreign(1), ClaimResult::Failed, 2, "it has vanished");
    for (const std::string& lock : {std::string(".lifecycle.lock"), queue + "\\.writer.lock"}) {
        const HANDLE held = hold(lock);
        isNotClaimed(queue, ClaimResult::Busy, 32, lock);
        CloseHandle(held);
    }
    const HANDLE shown = show(queue);
    isNotClaimed(queue, ClaimResult::Busy, 32, "displayed");
    CloseHandle(shown);
    const HANDLE open = hold(queue + "\\note_0.json");
    isNotClaimed(queue, ClaimResult::Busy, 5, "an open file in it");
    CloseHandle(open);
    for (const DWORD error : {5U, 32U, 33U, 1234U}) {
        faults::arm({"SetFileInformationByHandle", 1, faults::Action::Fail, error});
        isNotClaimed(queue, error == 1234 ? ClaimResult::Failed : ClaimResult::Busy, error, "the renaming");
        faults::clear();
    }
    constexpr GUID kGuid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    const fs::path inTheWay = root() / (ownQueue() + "-r-00000001000200030405060708090A0B");
    putPrivateFile(inTheWay, "mine");
    setNextGuid(kGuid);
    isNotClaimed(queue, ClaimResult::Failed, 183, "the new name is taken");
    EXPECT_EQ(contentOf(inTheWay), "mine");
    fs::remove(inTheWay);
    EXPECT_EQ(queues(), std::vector<std::string>{queue});

    ASSERT_EQ(claim(queue, name, err), ClaimResult::Claimed) << err;
    QueueName parsed;
    ASSERT_TRUE(parseQueueName(wide(name), parsed)) << name;
    EXPECT_TRUE(parsed.identity == context().identity);
    EXPECT_EQ(name.substr(49, 3), "-r-");
    EXPECT_EQ(name.find_first_of("abcdef", 52), std::string::npos) << "capitals only: " << name;
    EXPECT_EQ(queues(), std::vector<std::string>{name});
    EXPECT_EQ(contentOf(root() / name / "note_0.json"), std::string(10, 'x'));
    std::string again;
    ASSERT_EQ(claim(name, again, err), ClaimResult::Claimed) << err;
    EXPECT_TRUE(again.size() == 84 && again != name);
}

TEST_F(RecoveryMachine, claimedPathKeepsBelow260Characters) {
    for (const std::size_t length : {259, 260}) {
        const WideString storeRoot = TEXT("C:\\") + WideString(length - 84 - 4, TEXT('x'));
        QueueStore store;
        DWORD err = 0;
        ASSERT_TRUE(store.open(storeRoot, owner(), true, err)) << err;
        const fs::path queue = fs::path(hostPath(storeRoot)) / foreign(0);
        fs::create_directory(queue);
        chmod(queue.c_str(), 0700);
        WideString name;
        const ClaimResult result = store.claimQueue(
            wide(foreign(0)), context().identity, [](const LogonIdentity&) { return OwnerState::Gone; }, name, err);
        EXPECT_EQ(result, length == 259 ? ClaimResult::Claimed : ClaimResult::Failed);
        EXPECT_EQ(err, length == 259 ? 0U : 206U);
        EXPECT_EQ(fs::exists(queue), length == 260);
    }
}

// A pass that is killed at any call leaves the queue whole under the one name or the other, for the next pass to show.
TEST_F(RecoveryMachine, killedAtAnyCallItLeavesTheQueueForTheNextPass) {
    std::map<std::string, unsigned> seen;
    forEachKilledCall(
        [&] {
            removeQueues();
            makeQueue(foreign(0));
        },
        [] { return 0; }, [&](int) { recover(); },
        [&] {
            ASSERT_EQ(queues().size(), 1U);
            EXPECT_EQ(contentOf(root() / queues()[0] / "note_0.json"), std::string(10, 'x'));
            const bool isClaimed = queues()[0] != foreign(0);
            EXPECT_EQ(recovered(), isClaimed ? "dispatched=1 " : "claimed=1 dispatched=1 ");
            ++seen[isClaimed ? "claimed" : "as it was"];
        });
    EXPECT_TRUE(seen["as it was"] > 0 && seen["claimed"] > 0);
}

TEST_F(RecoveryMachine, passSeesToEveryQueueAsItsOwnerStands) {
    EXPECT_EQ(recovered(), "") << "an empty store";
    makeQueue(own_);
    makeQueue(claimed(1));
    makeQueue(foreign(0));
    makeQueue(foreign(1));
    makeQueue(foreign(2));
    makeQueue(foreign(3), 0);
    states_[foreign(1)] = OwnerState::Live;
    states_[foreign(2)] = OwnerState::Unknown;
    EXPECT_EQ(recovered(), "claimed=1 dispatched=3 live=1 unknown=1 ");
    ASSERT_EQ(started_.size(), 3U);
    EXPECT_EQ((std::vector<std::string>{started_.begin(), started_.begin() + 2}),
              (std::vector<std::string>{own_, claimed(1)}))
        << "the own ones first, as they are listed";
    EXPECT_TRUE(started_[2].starts_with(own_ + "-r-"));
    EXPECT_TRUE(fs::exists(root() / foreign(3))) << "an empty one is left";
    EXPECT_EQ(asked_[foreign(0)], 2U) << "once more under the locks";
    EXPECT_EQ(asked_.count(own_), 0U);
    EXPECT_EQ(recovered(), "dispatched=3 live=1 unknown=1 ") << "now it is an own one";

    results_[own_] = 183;
    results_[claimed(1)] = 1234;
    EXPECT_EQ(recovered(), "dispatched=2 live=1 unknown=1 failed=1 | dispatch queue " + claimed(1) + " 1234");
}

TEST_F(RecoveryMachine, passIsAloneAndNeedsItsArguments) {
    makeQueue(own_);
    const HANDLE other = hold(".recovery.lock");
    EXPECT_EQ(recovered(), "deferred=1 | lock recovery  32");
    CloseHandle(other);
    chmod((root() / ".recovery.lock").c_str(), 0640);
    EXPECT_EQ(recovered(), "failed=1 | lock recovery  5");
    fs::remove(root() / ".recovery.lock");
    const HANDLE lifecycle = hold(".lifecycle.lock");
    EXPECT_EQ(recovered(), "failed=1 | enumerate queues  32");
    CloseHandle(lifecycle);
    StoreMachine::makeQueue("applet-x");
    EXPECT_EQ(recovered(), "failed=1 | enumerate queues  13");
    EXPECT_TRUE(started_.empty()) << "one stray entry, and no queue is touched";
    fs::remove(root() / "applet-x");

    const OwnerLookup owner = [](const LogonIdentity&) { return OwnerState::Gone; };
    const QueueDispatch dispatch = [](const WideString&) { return DWORD{0}; };
    const LogonIdentity self = context().identity;
    for (const RecoveryResult& result :
         {recoverQueues(QueueStore(), self, owner, dispatch), recoverQueues(store_, {}, owner, dispatch),
          recoverQueues(store_, self, nullptr, dispatch), recoverQueues(store_, self, owner, nullptr)})
        EXPECT_EQ(text(result), "failed=1 | validate recovery arguments  87");
}

TEST_F(RecoveryMachine, budgetGoesToTheOwnQueuesFirst) {
    makeQueue(own_, 100);
    makeQueue(claimed(1), 100);
    makeQueue(foreign(0));
    EXPECT_EQ(recovered(), "dispatched=1 deferred=2 ");
    EXPECT_EQ(started_, std::vector<std::string>{own_});
    EXPECT_TRUE(asked_.empty()) << "nobody asks for the owner of a queue that is barred";
    removeQueues();

    makeQueue(foreign(0), 100);
    makeQueue(foreign(1), 29);
    makeQueue(foreign(2), 28);
    EXPECT_EQ(recovered(), "claimed=2 dispatched=2 deferred=1 ") << "another logon's queue over budget bars nobody";
    removeQueues();

    makeQueue(own_, 15, 2 * kMiB);
    makeQueue(foreign(0), 1, 2 * kMiB);
    makeQueue(foreign(1), 1, 1);
    EXPECT_EQ(recovered(), "claimed=1 dispatched=2 deferred=1 ") << "32 MiB to the byte";
    removeQueues();

    makeQueue(own_);
    makeQueue(foreign(0));
    const HANDLE writer = hold(own_ + "\\.writer.lock");
    EXPECT_EQ(recovered(), "deferred=2 ") << "an own queue that is busy bars the others";
    CloseHandle(writer);
    putNote(root() / own_, "X.json", "x");
    EXPECT_EQ(recovered(), "deferred=1 failed=1 | measure queue " + own_ + " 13");
    removeQueues();

    makeQueue(foreign(0), 100);
    makeQueue(foreign(1), 100);
    results_.clear();
    EXPECT_EQ(recovered(), "claimed=1 dispatched=1 deferred=1 ");
    ASSERT_EQ(started_.size(), 1U);
    results_[started_[0]] = 5;
    EXPECT_EQ(recovered(), "deferred=1 failed=1 | dispatch queue " + started_[0] + " 5")
        << "a claimed queue keeps its name and its share of the budget";
}

TEST_F(RecoveryMachine, claimThatIsPutOffSaysWhy) {
    makeQueue(foreign(0));
    const HANDLE shown = show(foreign(0));
    EXPECT_EQ(recovered(), "deferred=1 | defer queue claim " + foreign(0) + " 32");
    CloseHandle(shown);
    faults::arm({"CoCreateGuid", 1, faults::Action::Fail, 0x80004005});
    EXPECT_EQ(recovered(), "failed=1 | claim queue " + foreign(0) + " 2147500037");
    faults::clear();
    // The owner is back by the time of the claim.
    unsigned asked = 0;
    const RecoveryResult result = recoverQueues(
        store_, context().identity,
        [&](const LogonIdentity&) { return ++asked == 1 ? OwnerState::Gone : OwnerState::Live; },
        [](const WideString&) { return DWORD{0}; });
    EXPECT_EQ(text(result), "deferred=1 ");
    // Or the queue has gone: the claim opens its lock, and has a lock, folder and note of the measuring before it.
    for (const DWORD error : {2U, 3U}) {
        asked = 0;
        const auto lookUp = [&](const LogonIdentity&) {
            if (++asked == 1) faults::arm({"CreateFileW", 5, faults::Action::Fail, error});
            return OwnerState::Gone;
        };
        const auto gone = recoverQueues(store_, context().identity, lookUp, [](const WideString&) { return DWORD{0}; });
        faults::clear();
        EXPECT_EQ(text(gone), "deferred=1 | defer queue claim " + foreign(0) + " " + std::to_string(error));
    }
}

TEST_F(RecoveryMachine, storeOf4096QueuesIsSeenAndOneOf4097IsNot) {
    for (unsigned i = 0; i < 4095; ++i)
        StoreMachine::makeQueue(foreign(i));
    makeQueue(foreign(4095));
    EXPECT_EQ(recovered(), "claimed=1 dispatched=1 ");
    StoreMachine::makeQueue(foreign(4096));
    EXPECT_EQ(recovered(), "deferred=4096 incomplete | enumerate queues  234");
    EXPECT_TRUE(asked_.empty() && started_.empty());
}

// Any failing call is counted or harmless, and no lock stays held.
TEST_F(RecoveryMachine, everyFailingCallOfAPassIsCounted) {
    RecoveryResult result;
    const auto reset = [&] {
        removeQueues();
        makeQueue(own_);
        makeQueue(foreign(0));
    };
    reset();
    EXPECT_GT(
        forEachFailingCall([&] { result = recover(); },
                           [&](bool fired) {
                               notices::takeDebugOutput();
                               EXPECT_TRUE(result.dispatched == 2 || (fired && result.failed + result.deferred != 0))
                                   << text(result);
                               EXPECT_EQ(queues().size(), 2U);
                               reset();
                           },
                           1234),
        0U);
}
