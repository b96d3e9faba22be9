// ReadDirectoryChangesW on top of inotify. Each folder that is read has its own inotify instance. One thread serves
// them all; the first read starts it. Changes without a pending read are queued, up to the size of the first read's
// buffer. If the queue overflows, the changes are lost and the next read returns 0 bytes to say so.
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <windows.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Waitable.h"
#include "core/Waiting.h"
#include "files/Directory.h"
#include "files/FileObject.h"
#include "machine/NativePath.h"

namespace platform {

namespace {

constexpr ULONG_PTR kPending = 0x103;

struct Change {
    DWORD action = 0;
    std::u16string name;

    std::size_t bytes() const {
        return (offsetof(FILE_NOTIFY_INFORMATION, FileName) + name.size() * sizeof(WCHAR) + 3) & ~std::size_t{3};
    }
};

struct PendingRead {
    LPVOID buffer = nullptr;
    std::size_t capacity = 0;
    LPOVERLAPPED overlapped = nullptr;
    std::shared_ptr<Event> done;
};

}  // namespace

// The mutable members are guarded by waiting::lock().
struct ChangeQueue {
    ChangeQueue(int instance, std::string native) : notify(instance), path(std::move(native)) {}

    const Descriptor notify;
    const std::string path;
    int folder = -1;  // watch descriptors of the folder and of its parent
    int parent = -1;
    std::string leafName;  // name of the folder in its parent
    DWORD filter = 0;

    std::size_t capacity = 0;  // buffer size of the first read
    std::vector<Change> changes;
    std::size_t bytes = 0;
    bool overflowed = false;
    bool gone = false;
    std::string movedFrom;  // old name of a rename whose second half has not arrived
    std::uint32_t moveCookie = 0;
    std::unordered_set<std::string>
        names;  // names in the folder: a rename event does not say whether it replaced a file
    PendingRead read;

    bool isPending() const { return read.overlapped != nullptr; }
    void finish(DWORD error, std::size_t count) {
        if (!isPending()) return;
        read.overlapped->Internal = error;
        read.overlapped->InternalHigh = count;
        if (read.done != nullptr) read.done->signalled = true;
        read = {};
    }
    void add(DWORD action, const char* name) {
        Change change{action, toWide(name)};
        const bool repeats = action == FILE_ACTION_MODIFIED && !changes.empty() && changes.back().action == action &&
                             changes.back().name == change.name;
        if (repeats || overflowed) return;
        bytes += change.bytes();
        changes.push_back(std::move(change));
        if (bytes > capacity) overflow();
    }
    void overflow() {
        changes.clear();
        bytes = 0;
        overflowed = true;
    }
    // Completes the pending read if there are changes.
    void deliver();
};

namespace {

struct Hub {
    std::unordered_map<int, std::weak_ptr<ChangeQueue>> queues;  // by inotify descriptor; guarded by waiting::lock()
    int poll = -1;
};

Hub& hub() {
    static Hub& instance = *new Hub;
    return instance;
}

void write(const std::vector<Change>& changes, BYTE* to) {
    for (const Change& change : changes) {
        const bool isLast = &change == &changes.back();
        const std::array<DWORD, 3> head = {isLast ? 0 : static_cast<DWORD>(change.bytes()), change.action,
                                           static_cast<DWORD>(change.name.size() * sizeof(WCHAR))};
        std::memcpy(to, head.data(), sizeof head);
        std::memcpy(to + sizeof head, change.name.data(), change.name.size() * sizeof(WCHAR));
        to += change.bytes();
    }
}

bool wants(const ChangeQueue& queue, DWORD filter) {
    return (queue.filter & filter) != 0;
}

// A rename arrives as two events. If the second one is missing, the file was moved out of the folder.
void finishMoveOut(ChangeQueue& queue) {
    if (queue.movedFrom.empty()) return;
    queue.add(FILE_ACTION_REMOVED, queue.movedFrom.c_str());
    queue.movedFrom.clear();
}

void listNames(ChangeQueue& queue) {
    queue.names.clear();
    std::error_code ended;
    for (std::filesystem::directory_iterator entry(queue.path, ended), end; entry != end; entry.increment(ended))
        queue.names.insert(entry->path().filename());
}

// A file gets a name because it was created or moved there. A file that had the name before counts as removed.
void takeName(ChangeQueue& queue, DWORD action, const inotify_event& event) {
    const bool replaces = !queue.names.insert(event.name).second && (event.mask & IN_MOVED_TO) != 0;
    if (replaces) queue.add(FILE_ACTION_REMOVED, event.name);
    if (action == FILE_ACTION_RENAMED_NEW_NAME) queue.add(FILE_ACTION_RENAMED_OLD_NAME, queue.movedFrom.c_str());
    queue.add(action, event.name);
}

void takeEvent(ChangeQueue& queue, const inotify_event& event) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        listNames(queue);
        return queue.overflow();
    }
    if (event.wd == queue.parent) {
        if ((event.mask & IN_DELETE) != 0 && queue.leafName == event.name) queue.gone = true;
        return;
    }
    if ((event.mask & (IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT)) != 0) queue.gone = true;
    if (event.len == 0 || (event.mask & IN_ISDIR) != 0) return;
    if ((event.mask & IN_MOVED_TO) != 0 && !queue.movedFrom.empty() && event.cookie == queue.moveCookie) {
        takeName(queue, FILE_ACTION_RENAMED_NEW_NAME, event);
        queue.movedFrom.clear();
        return;
    }
    finishMoveOut(queue);
    if ((event.mask & IN_MODIFY) != 0) {
        if (wants(queue, FILE_NOTIFY_CHANGE_LAST_WRITE)) queue.add(FILE_ACTION_MODIFIED, event.name);
        return;
    }
    if (!wants(queue, FILE_NOTIFY_CHANGE_FILE_NAME)) return;
    if ((event.mask & (IN_MOVED_FROM | IN_DELETE)) != 0) queue.names.erase(event.name);
    if ((event.mask & IN_MOVED_FROM) != 0) {
        queue.movedFrom = event.name;
        queue.moveCookie = event.cookie;
    } else if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
        takeName(queue, FILE_ACTION_ADDED, event);
    } else if ((event.mask & IN_DELETE) != 0) {
        queue.add(FILE_ACTION_REMOVED, event.name);
    }
}

// Handles the events that one read() of inotify returns. False if there were none.
bool takeEvents(ChangeQueue& queue) {
    alignas(inotify_event) std::array<char, 65536> bytes;
    const ssize_t got = read(queue.notify.get(), bytes.data(), bytes.size());
    for (ssize_t at = 0; at < got;) {
        const auto& event = *reinterpret_cast<const inotify_event*>(bytes.data() + at);
        takeEvent(queue, event);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    return got > 0;
}

// Makes one read() at a time, so that a pending read completes even during a burst. The two events of a rename may come
// in separate reads.
void drain(ChangeQueue& queue) {
    takeEvents(queue);
    for (int lookAgain = 0; lookAgain < 2 && !queue.movedFrom.empty(); ++lookAgain)
        if (!takeEvents(queue)) std::this_thread::yield();
    finishMoveOut(queue);
    queue.deliver();
}

[[noreturn]] void serve() {
    for (;;) {
        epoll_event ready = {};
        if (epoll_wait(hub().poll, &ready, 1, -1) != 1) continue;
        {
            std::lock_guard hold(waiting::lock());
            const auto found = hub().queues.find(ready.data.fd);
            if (found == hub().queues.end()) continue;
            if (const auto queue = found->second.lock()) drain(*queue);
        }
        waiting::wake();
    }
}

constexpr std::uint32_t kFolderEvents =
    IN_CREATE | IN_DELETE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR;

// Null, with errno set, if the folder cannot be watched.
std::shared_ptr<ChangeQueue> watch(const std::string& path) {
    const auto queue = std::make_shared<ChangeQueue>(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), path);
    if (queue->notify.get() < 0) return nullptr;
    queue->folder = inotify_add_watch(queue->notify.get(), path.c_str(), kFolderEvents);
    if (queue->folder < 0) return nullptr;
    listNames(*queue);
    const std::filesystem::path folder = std::filesystem::path(path).lexically_normal();
    queue->leafName = (folder.has_filename() ? folder : folder.parent_path()).filename();
    // While the folder is open, inotify sends no event for its removal, so watch the parent as well.
    queue->parent = inotify_add_watch(queue->notify.get(), (path + "/..").c_str(), IN_DELETE | IN_MASK_ADD);
    if (hub().poll < 0) {
        hub().poll = epoll_create1(EPOLL_CLOEXEC);
        std::thread(serve).detach();
    }
    hub().queues[queue->notify.get()] = queue;
    epoll_event wanted = {};
    wanted.events = EPOLLIN;
    wanted.data.fd = queue->notify.get();
    if (epoll_ctl(hub().poll, EPOLL_CTL_ADD, queue->notify.get(), &wanted) != 0) return nullptr;
    return queue;
}

}  // namespace

void ChangeQueue::deliver() {
    if (!isPending()) return;
    if (overflowed) {
        overflowed = false;
        finish(ERROR_SUCCESS, 0);
    } else if (!changes.empty() && bytes > read.capacity) {
        changes.clear();
        finish(ERROR_SUCCESS, 0);
        bytes = 0;
    } else if (!changes.empty()) {
        write(changes, static_cast<BYTE*>(read.buffer));
        finish(ERROR_SUCCESS, bytes);
        changes.clear();
        bytes = 0;
    } else if (gone) {
        finish(ERROR_ACCESS_DENIED, 0);
    }
}

Directory::~Directory() {
    {
        std::lock_guard hold(waiting::lock());
        if (changes == nullptr) return;
        changes->finish(ERROR_OPERATION_ABORTED, 0);
        hub().queues.erase(changes->notify.get());
        changes.reset();  // closes the descriptor, which also removes it from epoll
    }
    waiting::wake();
}

}  // namespace platform

using namespace platform;

BOOL ReadDirectoryChangesW(HANDLE handle, LPVOID buffer, DWORD bufferBytes, BOOL subtree, DWORD filter, LPDWORD,
                           LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto directory = find<Directory>(handle);
    if (directory == nullptr) return FALSE;
    if (overlapped == nullptr || subtree || routine != nullptr) return refuse(ERROR_INVALID_PARAMETER);
    const auto done = find<Event>(overlapped->hEvent);
    if (done == nullptr) return FALSE;
    {
        std::lock_guard hold(waiting::lock());
        if (directory->changes == nullptr) {
            directory->changes = watch(directory->path);
            if (directory->changes == nullptr) return setFileError(errno, directory->path);
            directory->changes->capacity = bufferBytes;
            directory->changes->filter = filter;
        }
        ChangeQueue& queue = *directory->changes;
        if (queue.gone && queue.changes.empty()) return refuse(ERROR_ACCESS_DENIED);
        overlapped->Internal = kPending;
        overlapped->InternalHigh = 0;
        done->signalled = false;
        queue.read = {buffer, bufferBytes, overlapped, done};
        drain(queue);
    }
    waiting::wake();
    return TRUE;
}

BOOL GetOverlappedResult(HANDLE, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    std::lock_guard hold(waiting::lock());
    *bytes = static_cast<DWORD>(overlapped->InternalHigh);
    if (overlapped->Internal == ERROR_SUCCESS) return TRUE;
    return refuse(overlapped->Internal == kPending ? ERROR_IO_INCOMPLETE : static_cast<DWORD>(overlapped->Internal));
}

BOOL CancelIoEx(HANDLE handle, LPOVERLAPPED overlapped) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto directory = find<Directory>(handle);
    if (directory == nullptr) return FALSE;
    {
        std::lock_guard hold(waiting::lock());
        if (directory->changes == nullptr || directory->changes->read.overlapped != overlapped)
            return refuse(ERROR_NOT_FOUND);
        directory->changes->finish(ERROR_OPERATION_ABORTED, 0);
    }
    waiting::wake();
    return TRUE;
}
