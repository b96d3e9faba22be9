// What entitles a process to show a queue, and tells everybody else that the queue is in use: while it is held, the
// process has the queue's display lock and keeps its folder open, so that nobody can rename it. It ends with the
// process at the latest, and is never handed over.
//
// The notes of the queue are reached through the lease only, as whole files: every access verifies the file and keeps
// to the limits of a queue, and the note is whole at every moment. `fileName` is a bare name. A failure leaves the note
// as it was, tells a Windows error number in `err`, and nothing is tried again. All on one thread.
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

    // Leases a queue that bears `identity`, this process's own. A queue that is already displayed is refused with
    // ERROR_SHARING_VIOLATION. The lease keeps the store open.
    static bool open(const QueueStore& store, const WideString& queueName, const LogonIdentity& identity,
                     QueueLease& lease, DWORD& err);

    bool active() const { return state_ != nullptr; }

    // Removes the auto-start value of the staged program when the store is empty; see
    // QueueStore::cleanupEmptyStore.
    bool cleanupStartup(DWORD& err) const;

    // Takes no lock. `bytes` is empty on failure.
    bool readNote(const WideString& fileName, std::string& bytes, DWORD& err) const;
    // Replaces a note that exists; the new content is on the disk before it takes the old one's place.
    bool updateNote(const WideString& fileName, const std::string& bytes, DWORD& err) const;
    // True also when the note was gone already.
    bool removeNote(const WideString& fileName, DWORD& err) const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace AppletNotes
