// Access control lists as values. All entries allow: nothing else can be made or is told.
#pragma once

#include <winnt.h>

#include <vector>

#include "security/Sid.h"

namespace platform {

struct AccessEntry {
    Sid sid;
    ACCESS_MASK mask = 0;
    BYTE flags = 0;
};

// The bytes of an ACL.
std::vector<BYTE> makeList(const std::vector<AccessEntry>& entries);
// None of no list.
std::vector<AccessEntry> readList(PACL list);

}  // namespace platform
