// Names of queue folders and of the notes in them. A queue is named after the logon it belongs to:
//
//     applet-<session>-<logon id>-<logon time>                   8, 16 and 16 hexadecimal digits: 49 units
//     applet-<session>-<logon id>-<logon time>-r-<claim token>   taken over by that logon: 84 units
#pragma once

#include "applet/LogonIdentity.h"
#include "common/WideText.h"

namespace AppletNotes {

struct QueueName {
    LogonIdentity identity;
    WideString claimToken;  // 32 digits as they stand in the name; empty in the short form
};

// Digits of either case are accepted, everything else exactly as above, and the identity has to be valid. False
// leaves `name` empty.
bool parseQueueName(WideView text, QueueName& name);

// The short form; empty for an identity that is not valid.
WideString formatQueueName(const LogonIdentity& identity);

// Up to 16 hexadecimal digits of either case. False for any other unit.
bool parseHexField(WideView digits, ULONGLONG& value);

// "note_" and ".json" around letters, digits, "_" and single dots; 10 to 96 units. A name that is none never reaches
// the file system.
bool isPrivateNoteName(WideView name);

}  // namespace AppletNotes
