// Named mutexes between the processes of a machine. A name of the namespace "Local\" belongs to a session. Each mutex
// is a file in the machine folder: whoever has a handle holds a shared lock on its first byte, the owner an exclusive
// one on its second. Both belong to the open file description and vanish with the process.
#include <fcntl.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "Gate.h"
#include "Machine.h"
#include "files/FileObject.h"
#include "text/Encoding.h"

namespace platform {
namespace {

constexpr off_t kHandleByte = 0, kOwnerByte = 1, kMakingByte = 2;

struct Mutex : Object {
    explicit Mutex(Descriptor opened) : descriptor(std::move(opened)) {}
    Descriptor descriptor;
    bool owned = false;
};

bool setLock(const Descriptor& descriptor, int command, short type, off_t byte) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return fcntl(descriptor.get(), command, &lock) == 0;
}

bool hasOtherHandles(const Descriptor& descriptor) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kHandleByte;
    lock.l_len = 1;
    return fcntl(descriptor.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// What a file name cannot hold, and "%", is written as %XX.
std::string fileName(const std::string& name) {
    std::string out;
    for (const char byte : name) {
        if (byte == '/' || byte == '%' || static_cast<unsigned char>(byte) < 0x20) {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
            out += escaped;
        } else {
            out += byte;
        }
    }
    return out;
}

std::filesystem::path fileOf(std::string name) {
    std::filesystem::path folder = machineFolder() / "mutexes";
    constexpr std::string_view kLocal = "Local\\";
    if (name.starts_with(kLocal)) {
        name.erase(0, kLocal.size());
        folder /= std::to_string(processToken().sessionId);
    }
    std::filesystem::create_directories(folder);
    return folder / fileName(name);
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::string path = fileOf(toUtf8(name));
    auto mutex = std::make_shared<Mutex>(Descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)));
    if (mutex->descriptor.get() < 0 || !setLock(mutex->descriptor, F_OFD_SETLKW, F_WRLCK, kMakingByte)) {
        SetLastError(ERROR_INVALID_NAME);
        return nullptr;
    }
    const bool known = hasOtherHandles(mutex->descriptor);
    setLock(mutex->descriptor, F_OFD_SETLK, F_RDLCK, kHandleByte);
    // Only the one who makes it owns it from the start.
    if (!known && initialOwner) mutex->owned = setLock(mutex->descriptor, F_OFD_SETLK, F_WRLCK, kOwnerByte);
    setLock(mutex->descriptor, F_OFD_SETLK, F_UNLCK, kMakingByte);
    const HANDLE handle = openHandle(std::move(mutex));
    SetLastError(known ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

BOOL ReleaseMutex(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto mutex = find<Mutex>(handle);
    if (mutex == nullptr) return FALSE;
    if (!mutex->owned) {
        SetLastError(ERROR_NOT_OWNER);
        return FALSE;
    }
    setLock(mutex->descriptor, F_OFD_SETLK, F_UNLCK, kOwnerByte);
    mutex->owned = false;
    return TRUE;
}
