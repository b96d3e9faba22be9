// The standard streams of the process.
#include <fcntl.h>
#include <unistd.h>

#include <windows.h>

#include <array>
#include <mutex>

#include "core/Error.h"
#include "core/Gate.h"
#include "files/FileObject.h"

namespace platform {
namespace {

// A standard stream that was closed at process start stays closed. Its descriptor number is reserved, so that no file
// opened later gets it.
std::array<bool, 3> reserveClosedStreams() {
    std::array<bool, 3> present{};
    for (int stream = 0; stream < 3; ++stream) {
        present[static_cast<std::size_t>(stream)] = fcntl(stream, F_GETFD) != -1;
        if (!present[static_cast<std::size_t>(stream)]) open("/dev/null", O_RDWR | O_CLOEXEC);
    }
    return present;
}

const std::array<bool, 3> presentAtStart = reserveClosedStreams();

std::mutex lock;
HANDLE output = nullptr;

// The process owns the stream; closing the handle does not close it.
struct StreamObject : FileObject {
    explicit StreamObject(int stream) : FileObject(Descriptor(stream), FILE_WRITE_DATA) {}
    ~StreamObject() override { descriptor.release(); }
};

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE GetStdHandle(DWORD which) {
    static constinit CallSite site{__func__};
    if (site.fails()) return INVALID_HANDLE_VALUE;
    if (which != STD_OUTPUT_HANDLE) return refuse(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    std::lock_guard hold(lock);
    if (output == nullptr && presentAtStart[STDOUT_FILENO])
        output = openHandle(std::make_shared<StreamObject>(STDOUT_FILENO));
    return output;
}

BOOL AttachConsole(DWORD processId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (processId != ATTACH_PARENT_PROCESS) return refuse(ERROR_INVALID_PARAMETER);
    // The parent's console is the terminal that started this process.
    Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (terminal.get() < 0) return refuse(ERROR_INVALID_HANDLE);
    std::lock_guard hold(lock);
    output = openHandle(std::make_shared<FileObject>(std::move(terminal), FILE_WRITE_DATA));
    return TRUE;
}
