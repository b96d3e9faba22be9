// Which logon of a user is meant. The hand-over of notes is bound to one logon, never to a user name alone.
#pragma once

#include <windows.h>

namespace AppletNotes {

struct LogonIdentity {
    DWORD sessionId = 0;
    LUID logonId = {};       // AuthenticationId of the token
    LONGLONG logonTime = 0;  // of the security subsystem, in its 100-nanosecond units
};

// A session from 1 to 0x7FFFFFFF, a logon id that is not all zero, a logon time above 0.
bool isValid(const LogonIdentity& identity);

}  // namespace AppletNotes
