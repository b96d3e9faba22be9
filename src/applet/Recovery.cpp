// The recovery pass. The role --applet-recover calls it once, on the main thread.
#include "applet/Recovery.h"

#include <algorithm>

#include "applet/Error.h"
#include "applet/QueueName.h"
#include "applet/StoreFiles.h"

namespace AppletNotes {
namespace {

constexpr DWORD kMaxQueues = 4096;

bool isOwn(const WideString& name, const LogonIdentity& identity) {
    QueueName parsed;
    return parseQueueName(name, parsed) && isValid(parsed.identity) && parsed.identity == identity;
}

class RecoveryPass {
  public:
    RecoveryPass(const QueueStore& store, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                 const QueueDispatch& dispatch)
        : store_(store), identity_(identity), ownerLookup_(ownerLookup), dispatch_(dispatch) {}

    RecoveryResult run() {
        DWORD err = ERROR_SUCCESS;
        if (store_.isEmpty() || !isValid(identity_) || !ownerLookup_ || !dispatch_) {
            count(result_.failed, ERROR_INVALID_PARAMETER, TEXT("validate recovery arguments"));
            return result_;
        }
        QueueStore::Impl& files = *store_.impl();
        const OwnedHandle recovery = files.openLockFile(files.pathOf(kRecoveryLock), err);
        if (!recovery)
            count(isBusy(err) ? result_.deferred : result_.failed, err, TEXT("lock recovery"));
        else
            handleQueues();
        return result_;
    }

  private:
    // Records a problem; it replaces the previous one.
    void report(DWORD err, const WCHAR* stage, const WideString& queue = WideString()) {
        result_.lastError = err;
        result_.stage = stage;
        result_.queue = queue;
    }
    void count(DWORD& counter, DWORD err, const WCHAR* stage, const WideString& queue = WideString()) {
        ++counter;
        report(err, stage, queue);
    }

    void handleQueues() {
        DWORD err = ERROR_SUCCESS;
        std::vector<WideString> names;
        if (!store_.enumerateQueues(kMaxQueues, names, result_.incomplete, err)) {
            count(result_.failed, err, TEXT("enumerate queues"));
            return;
        }
        if (result_.incomplete) {
            result_.deferred = static_cast<DWORD>(names.size());
            report(ERROR_MORE_DATA, TEXT("enumerate queues"));
            return;
        }
        // This logon's own queues use the budget first.
        std::stable_partition(names.begin(), names.end(),
                              [&](const WideString& name) { return isOwn(name, identity_); });
        for (const WideString& name : names)
            handleQueue(name);
    }

    void handleQueue(const WideString& name) {
        QueueName parsed;
        if (!parseQueueName(name, parsed)) {
            ++result_.failed;
            result_.lastError = ERROR_INVALID_DATA;
            return;
        }
        const bool own = parsed.identity == identity_;
        if (!own && !mayClaim(parsed.identity)) return;
        DWORD notes = 0;
        ULONGLONG bytes = 0;
        if (!measure(name, own, notes, bytes) || notes == 0) return;
        if (isOverBudget(notes, bytes)) {
            if (own) othersAllowed_ = false;
            ++result_.deferred;
            return;
        }
        WideString target = name;
        if (!own && !claim(name, target)) return;
        totalNotes_ += notes;
        totalBytes_ += bytes;
        const DWORD err = dispatch_(target);
        if (err == ERROR_SUCCESS || err == ERROR_ALREADY_EXISTS)
            ++result_.dispatched;
        else
            count(result_.failed, err, TEXT("dispatch queue"), target);
    }

    // Whether a queue of this other logon may be claimed. Counts it if not.
    bool mayClaim(const LogonIdentity& owner) {
        if (!othersAllowed_) {
            ++result_.deferred;
            return false;
        }
        const OwnerState state = ownerLookup_(owner);
        if (state == OwnerState::Live) ++result_.live;
        if (state == OwnerState::Unknown) ++result_.unknown;
        return state == OwnerState::Gone;
    }

    bool measure(const WideString& name, bool own, DWORD& notes, ULONGLONG& bytes) {
        DWORD err = ERROR_SUCCESS;
        if (store_.measureQueue(name, notes, bytes, err)) return true;
        if (own) othersAllowed_ = false;
        if (isBusy(err))
            ++result_.deferred;
        else
            count(result_.failed, err, TEXT("measure queue"), name);
        return false;
    }

    bool isOverBudget(DWORD notes, ULONGLONG bytes) const {
        return totalNotes_ > kMaxNotes || totalBytes_ > kMaxQueueBytes || notes > kMaxNotes - totalNotes_ ||
               bytes > kMaxQueueBytes - totalBytes_;
    }

    bool claim(const WideString& name, WideString& target) {
        DWORD err = ERROR_SUCCESS;
        const ClaimResult claimed = store_.claimQueue(name, identity_, ownerLookup_, target, err);
        const bool vanished = err == ERROR_FILE_NOT_FOUND || err == ERROR_PATH_NOT_FOUND;
        if (claimed == ClaimResult::Claimed) {
            ++result_.claimed;
        } else if (claimed == ClaimResult::Failed && !vanished) {
            count(result_.failed, err, TEXT("claim queue"), name);
        } else {
            ++result_.deferred;
            if (err != ERROR_SUCCESS) report(err, TEXT("defer queue claim"), name);
        }
        return claimed == ClaimResult::Claimed;
    }

    const QueueStore& store_;
    const LogonIdentity& identity_;
    const OwnerLookup& ownerLookup_;
    const QueueDispatch& dispatch_;
    RecoveryResult result_;
    ULONGLONG totalNotes_ = 0;
    ULONGLONG totalBytes_ = 0;
    bool othersAllowed_ = true;
};

}  // namespace

RecoveryResult recoverQueues(const QueueStore& store, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                             const QueueDispatch& dispatch) {
    return RecoveryPass(store, identity, ownerLookup, dispatch).run();
}

}  // namespace AppletNotes
