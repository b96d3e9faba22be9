// A recovery pass goes through the store once. For each queue that holds notes it acts by the logon that owns the
// queue:
//     this logon               starts a display process
//     a logon that has ended   claims the queue, then starts a display process
//     any other logon          nothing
// It waits for nothing and reads no note. What it cannot do now is counted and left for a later pass.
#pragma once

#include "applet/QueueStore.h"

namespace AppletNotes {

struct RecoveryResult {
    DWORD claimed = 0;     // queues renamed to this logon
    DWORD dispatched = 0;  // display processes started
    DWORD live = 0;        // queues whose owner's logon still exists
    DWORD unknown = 0;     // queues whose owner could not be looked up
    DWORD deferred = 0;    // queues left for a later pass
    DWORD failed = 0;      // queues that failed, or 1 for the pass itself
    // The last problem: a Windows error number, the step, and the queue if the step concerns one.
    DWORD lastError = 0;
    WideString stage;
    WideString queue;
    bool incomplete = false;  // there were too many queues, and none was handled
};

// Starts a display process for the queue. Returns a Windows error number; 0 and ERROR_ALREADY_EXISTS mean that the
// queue is displayed.
using QueueDispatch = std::function<DWORD(const WideString& queueName)>;

// Runs one pass. `identity` is this process's logon. Only one pass runs at a time: a second one only counts 1 in
// `deferred`.
RecoveryResult recoverQueues(const QueueStore& store, const LogonIdentity& identity, const OwnerLookup& ownerLookup,
                             const QueueDispatch& dispatch);

}  // namespace AppletNotes
