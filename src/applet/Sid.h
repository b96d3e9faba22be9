// Security identifiers (SIDs) as values.
#pragma once

#include <windows.h>

#include <vector>

namespace AppletNotes {

using SidBytes = std::vector<BYTE>;

// A pointer for calls that take a SID and only read it. Null when `bytes` is empty.
inline PSID sidOf(const SidBytes& bytes) {
    return bytes.empty() ? nullptr : const_cast<BYTE*>(bytes.data());
}

// Calls IsValidSid; false for null.
inline bool isUsable(PSID sid) {
    return sid != nullptr && IsValidSid(sid);
}

}  // namespace AppletNotes
