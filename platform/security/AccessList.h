// Access control lists as values, with allow entries and deny entries.
#pragma once

#include <winnt.h>

#include <vector>

#include "security/Sid.h"

namespace platform {

struct AccessEntry {
    Sid sid;
    ACCESS_MASK mask = 0;
    BYTE flags = 0;
    BYTE type = ACCESS_ALLOWED_ACE_TYPE;  // or ACCESS_DENIED_ACE_TYPE, which has the same layout
};

std::vector<BYTE> makeList(const std::vector<AccessEntry>& entries);
// The entries of a list; empty if `list` is null.
std::vector<AccessEntry> readList(PACL list);

}  // namespace platform
