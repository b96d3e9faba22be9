// Named mutexes, shared by the processes of a machine. A name belongs to a session, unless it starts with "Global\".
// Each mutex is a file in the machine folder. Every process with a handle holds a shared lock on the first byte; the
// owner holds an exclusive lock on the second byte. The kernel releases both locks when the process ends.
#include <fcntl.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <thread>

#include "core/Descriptor.h"
#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Waitable.h"
#include "machine/Machine.h"

namespace platform {
namespace {

constexpr off_t kHandleByte = 0, kOwnerByte = 1, kMakingByte = 2;

bool setLock(const Descriptor& descriptor, int command, short type, off_t byte) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return fcntl(descriptor.get(), command, &lock) == 0;
}

struct Mutex : Waitable {
    explicit Mutex(Descriptor opened) : descriptor(std::move(opened)) {}

    // A mutex whose owner has died is free; nobody hears of WAIT_ABANDONED.
    bool isReady() override {
        const std::thread::id self = std::this_thread::get_id();
        if (owner != self && !setLock(descriptor, F_OFD_SETLK, F_WRLCK, kOwnerByte)) return false;
        owner = self;
        ++uses;
        return true;
    }
    bool isPolled() const override { return true; }

    Descriptor descriptor;
    std::thread::id owner;  // none, or the thread that may release it
    int uses = 0;           // how often the owner has to release it
};

bool hasOtherHandles(const Descriptor& descriptor) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kHandleByte;
    lock.l_len = 1;
    return fcntl(descriptor.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Writes "%" and characters that a file name cannot contain as %XX.
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

bool dropPrefix(std::string& name, std::string_view prefix) {
    if (!name.starts_with(prefix)) return false;
    name.erase(0, prefix.size());
    return true;
}

// A mutex name may be longer than a file name. Splits it into folders named "+...", and ends in a file named "=...".
std::filesystem::path fileOf(std::string name) {
    constexpr std::size_t kLongestPart = 200;
    std::filesystem::path path = machineFolder() / "mutexes";
    if (dropPrefix(name, "Global\\")) {
        path /= "global";
    } else {
        dropPrefix(name, "Local\\");
        path /= std::to_string(processToken().sessionId);
    }
    name = fileName(name);
    for (; name.size() > kLongestPart; name.erase(0, kLongestPart))
        path /= "+" + name.substr(0, kLongestPart);
    std::error_code shownByTheOpening;
    std::filesystem::create_directories(path, shownByTheOpening);
    return path / ("=" + name);
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::string path = fileOf(toUtf8(name));
    auto mutex = std::make_shared<Mutex>(Descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)));
    if (mutex->descriptor.get() < 0 || !setLock(mutex->descriptor, F_OFD_SETLKW, F_WRLCK, kMakingByte))
        return refuse(ERROR_INVALID_NAME);
    const bool known = hasOtherHandles(mutex->descriptor);
    setLock(mutex->descriptor, F_OFD_SETLK, F_RDLCK, kHandleByte);
    // Only the process that creates the mutex owns it from the start.
    if (!known && initialOwner) mutex->isReady();
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
    if (mutex->owner != std::this_thread::get_id()) return refuse(ERROR_NOT_OWNER);
    if (--mutex->uses != 0) return TRUE;
    setLock(mutex->descriptor, F_OFD_SETLK, F_UNLCK, kOwnerByte);
    mutex->owner = std::thread::id();
    return TRUE;
}
