// Share modes that work across processes. The access rights of an open file, and the rights that its opener denies to
// others, are locks on single bytes far beyond the end of any file: one byte for each right taken, one for each right
// denied, and one for being open at all. The locks belong to the open file description. The kernel releases them when
// it is closed, even if the process crashes.
#pragma once

namespace platform {

// The rights of an open file, and the rights that it shares. The values equal FILE_SHARE_*.
constexpr unsigned kReadRight = 1, kWriteRight = 2, kDeleteRight = 4;

// Takes the rights and denies the rights that are not shared. Returns false and takes nothing if that conflicts with
// another open file. An opener without rights (attributes only) never conflicts.
bool takeRights(int descriptor, unsigned rights, unsigned shared);
// Whether takeRights would fail.
bool rightsConflict(int descriptor, unsigned rights, unsigned shared);
// Whether the file is open anywhere, with any rights.
bool isOpenElsewhere(int descriptor);

// Blocks others in takeRights on this file until unlockOpening or until the descriptor is closed.
void lockOpening(int descriptor);
void unlockOpening(int descriptor);

}  // namespace platform
