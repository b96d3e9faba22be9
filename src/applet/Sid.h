// Security identifiers kept by value.
#pragma once

#include <windows.h>

#include <vector>

namespace AppletNotes {

using SidBytes = std::vector<BYTE>;

// For calls that take a SID; they only read it. Null for no bytes.
inline PSID sidOf(const SidBytes& bytes) {
    return bytes.empty() ? nullptr : const_cast<BYTE*>(bytes.data());
}

// False for a null pointer too.
inline bool isUsable(PSID sid) {
    return sid != nullptr && IsValidSid(sid);
}

}  // namespace AppletNotes
