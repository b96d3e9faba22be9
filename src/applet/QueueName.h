// The names of queue folders and of the notes in them. A queue is named after the logon that it belongs to:
//
//     applet-<session>-<logon id>-<logon time>                   8, 16 and 16 hexadecimal digits: 49 units
//     applet-<session>-<logon id>-<logon time>-r-<claim token>   claimed by that logon in a recovery pass: 84 units
#pragma once

#include "applet/LogonIdentity.h"
#include "common/WideText.h"

namespace AppletNotes {

struct QueueName {
    LogonIdentity identity;
    WideString claimToken;  // 32 hexadecimal digits as in the name; empty in the short form
};

// Accepts hexadecimal digits in either case and an identity that isValid; everything else must match exactly. On
// failure `name` is empty.
bool parseQueueName(WideView text, QueueName& name);

// The short form of the name; empty for an identity that is not valid.
WideString formatQueueName(const LogonIdentity& identity);

// Reads at most 16 hexadecimal digits in either case. False for any other character.
bool parseHexField(WideView digits, ULONGLONG& value);

// Whether `name` is "note_", then letters, digits, "_" and single dots, then ".json", with 10 to 96 units in all. A
// name that fails this test never reaches the file system.
bool isPrivateNoteName(WideView name);

}  // namespace AppletNotes
