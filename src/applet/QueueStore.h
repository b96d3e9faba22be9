// The store: a private folder tree of one user, in which notes wait for a display process of that user.
//
//     <store root>\.lifecycle.lock       held during each operation on the store
//     <store root>\.recovery.lock        held during a whole recovery pass
//     <store root>\runtime\...           the staged program
//     <store root>\<queue name>\         one queue: its notes and
//         .writer.lock, .display.lock
//
// Every object is owned by the user and its access list allows that user only. No object is a reparse point, and no
// file has a second link. Each handle is verified for that before it is used; one that fails is refused with
// ERROR_ACCESS_DENIED. A lock is a file that is open without sharing: taking it succeeds or fails at once, and it is
// released when its process ends.
//
// Every operation reports a failure in `err`, a Windows error number. ERROR_SHARING_VIOLATION and ERROR_LOCK_VIOLATION
// mean that another process is using the store or the queue right now. A process uses a store from one thread only.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "applet/LogonIdentity.h"
#include "applet/Sid.h"
#include "common/WideText.h"

namespace AppletNotes {

// The limits of one queue. One recovery pass shows at most the same amount in total.
constexpr DWORD kMaxNotes = 128;
constexpr ULONGLONG kMaxNoteBytes = 0x200000;
constexpr ULONGLONG kMaxQueueBytes = 0x2000000;

// Removes the auto-start value. Returns a Windows error number, 0 for success.
using StartupEntryRemoval = std::function<DWORD()>;

enum class ClaimResult {
    Claimed,       // the folder has its new name
    Busy,          // someone holds a lock or an open handle; a later pass may try again
    OwnerNotGone,  // looked up under the locks, the owner's logon still exists or is unknown
    Failed,        // anything else; `err` has the reason
};

// Copies share one open store, which is closed with the last copy.
class QueueStore {
  public:
    struct Impl;

    // Opens the store, after closing the one that was open before. Holds every folder of the path open, so that none
    // can be renamed or deleted meanwhile. `createRoot` creates the root if it is missing, but not its parents.
    // `userSid` is copied.
    bool open(const WideString& rootPath, PSID userSid, bool createRoot, DWORD& err);
    bool isEmpty() const { return impl_ == nullptr; }
    // Null if no store is open.
    Impl* impl() const { return impl_.get(); }

    // Calls `removeEntry` under the lifecycle lock if every queue is empty. True only if it was called and returned 0.
    // False with `err` 0 means that the store is not empty.
    bool cleanupEmptyStore(const StartupEntryRemoval& removeEntry, DWORD& err) const;

    // Lists the names of all queues; sets `truncated` if there are more than `limit`. Fails if an entry named applet-*
    // is not a queue.
    bool enumerateQueues(DWORD limit, std::vector<WideString>& names, bool& truncated, DWORD& err) const;

    // Counts the notes of a queue and their bytes, and verifies each note. Fails while a writer is at work.
    bool measureQueue(const WideString& queueName, DWORD& count, ULONGLONG& bytes, DWORD& err) const;

    // Renames the queue of a logon that has ended to a queue of `identity`. `ownerLookup` is called under the locks.
    ClaimResult claimQueue(const WideString& queueName, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                           WideString& newName, DWORD& err) const;

  private:
    std::shared_ptr<Impl> impl_;
};

}  // namespace AppletNotes
