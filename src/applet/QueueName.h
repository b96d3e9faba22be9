// Names of queue folders. A queue is named after the logon it belongs to:
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

}  // namespace AppletNotes
