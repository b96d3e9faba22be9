// The right to show a queue. While a process holds the lease it has the queue's display lock and keeps the queue's
// folder open, so that nobody can rename it and other processes see that the queue is in use. The lease ends with the
// process at the latest and cannot be passed to another one.
//
// The notes of the queue are read and written through the lease only, as whole files. Every access verifies the file
// and the limits of the queue, and a reader never sees half a note. `fileName` has no folder. On failure the note is
// unchanged and `err` is a Windows error number; nothing is retried. One thread only.
#pragma once

#include <memory>
#include <string>

#include "applet/QueueStore.h"

namespace AppletNotes {

class QueueLease {
  public:
    QueueLease();
    QueueLease(QueueLease&&) noexcept;
    QueueLease& operator=(QueueLease&&) noexcept;
    ~QueueLease();

    // Takes the lease of a queue that is named after `identity`, this process's logon. ERROR_SHARING_VIOLATION if the
    // queue is displayed already. The lease keeps the store open.
    static bool open(const QueueStore& store, const WideString& queueName, const LogonIdentity& identity,
                     QueueLease& lease, DWORD& err);

    bool active() const { return state_ != nullptr; }

    // Removes the auto-start value of the staged program if the store is empty; see QueueStore::cleanupEmptyStore.
    bool cleanupStartup(DWORD& err) const;

    // Reads a note without a lock. `bytes` is empty on failure.
    bool readNote(const WideString& fileName, std::string& bytes, DWORD& err) const;
    // Replaces an existing note; the new content is flushed to disk before the rename.
    bool updateNote(const WideString& fileName, const std::string& bytes, DWORD& err) const;
    // Deletes a note. True also when there is none.
    bool removeNote(const WideString& fileName, DWORD& err) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace AppletNotes
