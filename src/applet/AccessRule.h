// The access rule of the store: only the owner may have access.
#pragma once

#include <windows.h>

namespace AppletNotes {

// Whether `wanted` is the owner and the list gives access to nobody else: it has at least one entry, and every entry is
// an allow entry for `wanted`. Access masks and inheritance flags do not matter. `owner` and `list` may be null.
bool allowsOwnerOnly(PSID owner, PACL list, PSID wanted);

}  // namespace AppletNotes
