// Access control lists as values, of entries that allow and entries that deny.
#pragma once

#include <winnt.h>

#include <vector>

#include "security/Sid.h"

namespace platform {

struct AccessEntry {
    Sid sid;
    ACCESS_MASK mask = 0;
    BYTE flags = 0;
    BYTE type = ACCESS_ALLOWED_ACE_TYPE;  // or ACCESS_DENIED_ACE_TYPE, which has the same form
};

// The bytes of an ACL.
std::vector<BYTE> makeList(const std::vector<AccessEntry>& entries);
// None of no list.
std::vector<AccessEntry> readList(PACL list);

}  // namespace platform
