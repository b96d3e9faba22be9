// Share modes that hold between processes. What an open file may do, and what its opener denies to others, are
// locks on a few bytes far beyond the end of any file: one for each right taken, one for each right denied, one for
// being open at all. They belong to the open file description and vanish with it, however the process ends.
#pragma once

namespace platform {

// Rights of an open file, and the rights that it lets others have. The values are those of FILE_SHARE_*.
constexpr unsigned kReadRight = 1, kWriteRight = 2, kDeleteRight = 4;

// Takes the rights and denies those that are not shared. False, with nothing taken, when that conflicts with
// another open file. An opener without any right (who asks for attributes only) denies nothing and is denied nothing.
bool takeRights(int descriptor, unsigned rights, unsigned shared);
// Whether takeRights would be refused.
bool rightsConflict(int descriptor, unsigned rights, unsigned shared);
// Whether anybody has the file open, with whatever rights.
bool isOpenElsewhere(int descriptor);

// Keeps others from taking rights on the file until the descriptor is closed or the lock is given back.
void lockOpening(int descriptor);
void unlockOpening(int descriptor);

}  // namespace platform
