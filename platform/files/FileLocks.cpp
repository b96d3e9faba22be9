// Share modes, built on open-file-description locks. Files.cpp and Moves.cpp call it on any thread. The kernel keeps
// the state.
#include "files/FileLocks.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace platform {
namespace {

constexpr off_t kTaken = 0x7ffffffffffff000;
constexpr off_t kDenied = kTaken + 3;
constexpr off_t kOpen = kTaken + 6;

struct flock lockOn(off_t byte, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

bool isHeldByAnother(int descriptor, off_t byte) {
    struct flock lock = lockOn(byte, F_WRLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

void hold(int descriptor, off_t byte) {
    struct flock lock = lockOn(byte, F_RDLCK);
    fcntl(descriptor, F_OFD_SETLK, &lock);
}

}  // namespace

bool rightsConflict(int descriptor, unsigned rights, unsigned shared) {
    if (rights == 0) return false;
    for (int i = 0; i < 3; ++i) {
        const unsigned right = 1U << i;
        if ((rights & right) != 0 && isHeldByAnother(descriptor, kDenied + i)) return true;
        if ((shared & right) == 0 && isHeldByAnother(descriptor, kTaken + i)) return true;
    }
    return false;
}

bool isOpenElsewhere(int descriptor) {
    return isHeldByAnother(descriptor, kOpen);
}

void lockOpening(int descriptor) {
    while (flock(descriptor, LOCK_EX) != 0 && errno == EINTR)
        continue;
}

void unlockOpening(int descriptor) {
    flock(descriptor, LOCK_UN);
}

bool takeRights(int descriptor, unsigned rights, unsigned shared) {
    // Serializes two processes that open the file at the same time. Otherwise each could refuse the other.
    lockOpening(descriptor);
    const bool free = !rightsConflict(descriptor, rights, shared);
    if (free) hold(descriptor, kOpen);
    for (int i = 0; free && rights != 0 && i < 3; ++i) {
        const unsigned right = 1U << i;
        if ((rights & right) != 0) hold(descriptor, kTaken + i);
        if ((shared & right) == 0) hold(descriptor, kDenied + i);
    }
    unlockOpening(descriptor);
    return free;
}

}  // namespace platform
