// The store: a private folder tree of one user, in which notes wait for a display process of that user.
//
//     <store root>\.lifecycle.lock       held for the length of one store operation
//     <store root>\.recovery.lock        held for the whole of one recovery pass
//     <store root>\runtime\...           the staged program
//     <store root>\<queue name>\         one queue: its notes and
//         .writer.lock, .display.lock
//
// Every object belongs to the user and has allow-entries for that user alone; none is a reparse point, no file has a
// second link. Each handle is verified for that before it is trusted, and refused with ERROR_ACCESS_DENIED otherwise.
// A lock is a file that is open without sharing: taking one never waits, and it ends with its process.
//
// Every operation tells in `err`, a Windows error number, why it failed; ERROR_SHARING_VIOLATION and
// ERROR_LOCK_VIOLATION mean that someone else is at work here right now. One process uses a store from one thread.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "applet/LogonIdentity.h"
#include "applet/Sid.h"
#include "common/WideText.h"

namespace AppletNotes {

// Limits of a queue, and of what one recovery pass shows.
constexpr DWORD kMaxNotes = 128;
constexpr ULONGLONG kMaxNoteBytes = 0x200000;
constexpr ULONGLONG kMaxQueueBytes = 0x2000000;

// Removes the auto-start value; returns a Windows error number, 0 for success.
using StartupEntryRemoval = std::function<DWORD()>;

enum class ClaimResult {
    Claimed,       // the folder has its new name
    Busy,          // someone holds a lock or an open handle; a later pass may try again
    OwnerNotGone,  // asked under the locks, the owner was not gone; nothing changed
    Failed,        // anything else; `err` tells
};

// Copies share one opened store, which ends with the last of them.
class QueueStore {
  public:
    struct Impl;

    // Lets go of what was open before. Keeps every folder on the way open, so that none can be renamed or deleted
    // while the store is open. `createRoot` makes the root itself, not the folders above it. `userSid` is copied.
    bool open(const WideString& rootPath, PSID userSid, bool createRoot, DWORD& err);
    bool isEmpty() const { return impl_ == nullptr; }
    // Null when empty.
    Impl* impl() const { return impl_.get(); }

    // Calls `removeEntry` if no queue holds anything, under the lifecycle lock. True only if it was called and gave 0.
    // False with `err` 0 means that the store is not empty, which is no failure.
    bool cleanupEmptyStore(const StartupEntryRemoval& removeEntry, DWORD& err) const;

    // Names of all queues; `truncated` when there are more than `limit`. One stray entry fails the listing.
    bool enumerateQueues(DWORD limit, std::vector<WideString>& names, bool& truncated, DWORD& err) const;

    // Number and size of the notes, all of them verified, while no writer is at work.
    bool measureQueue(const WideString& queueName, DWORD& count, ULONGLONG& bytes, DWORD& err) const;

    // Renames the queue of a logon that is over to one of `identity`. `ownerLookup` is asked under the locks.
    ClaimResult claimQueue(const WideString& queueName, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                           WideString& newName, DWORD& err) const;

  private:
    std::shared_ptr<Impl> impl_;
};

}  // namespace AppletNotes
