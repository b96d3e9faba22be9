// Which logon of a user is meant. The hand-over of notes is bound to one logon, never to a user name alone.
#pragma once

#include <windows.h>

#include <functional>

namespace AppletNotes {

struct LogonIdentity {
    DWORD sessionId = 0;
    LUID logonId = {};       // AuthenticationId of the token
    LONGLONG logonTime = 0;  // of the security subsystem, in its 100-nanosecond units
};

// A session from 1 to 0x7FFFFFFF, a logon id that is not all zero, a logon time above 0.
bool isValid(const LogonIdentity& identity);

bool isSameLogonId(const LUID& left, const LUID& right);
// All fields.
bool operator==(const LogonIdentity& left, const LogonIdentity& right);

// What is known of the logon that a queue is named after.
enum class OwnerState {
    Live,     // it exists, and is the very same logon of the same user
    Gone,     // it is over, or its logon id now belongs to another logon
    Unknown,  // no answer could be had; nothing may be concluded
};

using OwnerLookup = std::function<OwnerState(const LogonIdentity&)>;

// What follows from the answer about the logon with the queue's logon id. `lookupError` is a Windows error, 0 for none;
// `liveIdentity` is null when there is no answer; `sameUser` says whether that logon is the asking user's.
OwnerState classifyOwner(const LogonIdentity& queueIdentity, const LogonIdentity* liveIdentity, bool sameUser,
                         DWORD lookupError);

}  // namespace AppletNotes
