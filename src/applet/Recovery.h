// A recovery pass: it walks the store once and sees to every queue that holds notes. Queues of this logon are
// dispatched, those of logons that are over are claimed and dispatched, those of logons that still run are left alone.
// It waits for nothing and never reads a note; what cannot be done now is counted, for a later pass.
#pragma once

#include "applet/QueueStore.h"

namespace AppletNotes {

struct RecoveryResult {
    DWORD claimed = 0;     // queues renamed to this logon
    DWORD dispatched = 0;  // display children started
    DWORD live = 0;        // queues whose owner's logon still runs
    DWORD unknown = 0;     // queues whose owner could not be found out
    DWORD deferred = 0;    // queues put off until a later pass
    DWORD failed = 0;      // queues, or the pass itself
    // The latest report: a Windows error number, what was being done, and with which queue, if with one.
    DWORD lastError = 0;
    WideString stage;
    WideString queue;
    bool incomplete = false;  // the listing was cut short, and no queue was touched
};

// Starts a display process of the queue; returns a Windows error number, where 0 and ERROR_ALREADY_EXISTS mean that the
// queue is being displayed.
using QueueDispatch = std::function<DWORD(const WideString& queueName)>;

// `identity` is this process's. Only one pass runs at a time; a second one counts itself as deferred.
RecoveryResult recoverQueues(const QueueStore& store, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                             const QueueDispatch& dispatch);

}  // namespace AppletNotes
