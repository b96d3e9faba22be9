// The identity of one logon of a user. A queue belongs to one logon, not to a user name.
#pragma once

#include <windows.h>

#include <functional>

namespace AppletNotes {

struct LogonIdentity {
    DWORD sessionId = 0;
    LUID logonId = {};       // AuthenticationId of the token
    LONGLONG logonTime = 0;  // LogonTime of the LSA, in units of 100 nanoseconds
};

// Session from 1 to 0x7FFFFFFF, a logon id that is not zero, a logon time above 0.
bool isValid(const LogonIdentity& identity);

bool isSameLogonId(const LUID& left, const LUID& right);
// Compares all fields.
bool operator==(const LogonIdentity& left, const LogonIdentity& right);

// The state of the logon that a queue is named after.
enum class OwnerState {
    Live,     // this logon of this user still exists
    Gone,     // it has ended; its logon id may belong to another logon now
    Unknown,  // the lookup failed: treat it neither as live nor as gone
};

using OwnerLookup = std::function<OwnerState(const LogonIdentity&)>;

// Decides from the result of a lookup. `lookupError` is a Windows error number, 0 for none; `liveIdentity` is the logon
// that has the queue's logon id now, null if unknown; `sameUser` says whether that logon is the current user's.
OwnerState classifyOwner(const LogonIdentity& queueIdentity, const LogonIdentity* liveIdentity, bool sameUser,
                         DWORD lookupError);

}  // namespace AppletNotes
