// Which access list makes an object the user's own.
#pragma once

#include <windows.h>

namespace AppletNotes {

// Whether `wanted` is the owner, and the list holds at least one entry and nothing but entries that allow `wanted`
// something. Masks and inheritance do not matter. Owner and list may be null.
bool isOwnersAlone(PSID owner, PACL list, PSID wanted);

}  // namespace AppletNotes
