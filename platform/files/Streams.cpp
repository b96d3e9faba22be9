// The standard streams of the process.
#include <fcntl.h>
#include <unistd.h>

#include <windows.h>

#include <array>
#include <cstring>
#include <mutex>

#include "core/Encoding.h"
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
std::array<HANDLE, 3> streams{};

// The process owns the stream; closing the handle does not close it.
struct StreamObject : FileObject {
    explicit StreamObject(int stream)
        : FileObject(Descriptor(stream), stream == STDIN_FILENO ? FILE_READ_DATA : FILE_WRITE_DATA) {}
    ~StreamObject() override { descriptor.release(); }
};

// -1 for a number that names no stream.
int streamOf(DWORD which) {
    switch (which) {
        case STD_INPUT_HANDLE:
            return STDIN_FILENO;
        case STD_OUTPUT_HANDLE:
            return STDOUT_FILENO;
        case STD_ERROR_HANDLE:
            return STDERR_FILENO;
    }
    return -1;
}

// The terminal behind the handle; null, with the last error, when it is none or lacks the right.
std::shared_ptr<FileObject> findTerminal(HANDLE handle, DWORD right) {
    auto file = find<FileObject>(handle);
    if (file == nullptr) return nullptr;
    if (isatty(file->descriptor.get()) == 0) return refuse(ERROR_INVALID_HANDLE);
    if ((file->access & right) != right) return refuse(ERROR_ACCESS_DENIED);
    return file;
}

}  // namespace
}  // namespace platform

using namespace platform;

HANDLE GetStdHandle(DWORD which) {
    static constinit CallSite site{__func__};
    if (site.fails()) return INVALID_HANDLE_VALUE;
    const int stream = streamOf(which);
    if (stream < 0) return refuse(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    std::lock_guard hold(lock);
    HANDLE& handle = streams[static_cast<std::size_t>(stream)];
    if (handle == nullptr && presentAtStart[static_cast<std::size_t>(stream)])
        handle = openHandle(std::make_shared<StreamObject>(stream));
    return handle;
}

BOOL GetConsoleMode(HANDLE console, LPDWORD mode) {
    static constinit CallSite site{__func__};
    if (site.fails() || findTerminal(console, 0) == nullptr) return FALSE;
    *mode = 0;
    return TRUE;
}

BOOL WriteConsoleW(HANDLE console, const void* text, DWORD units, LPDWORD written, LPVOID) {
    static constinit CallSite site{__func__};
    if (site.fails() || findTerminal(console, FILE_WRITE_DATA) == nullptr) return FALSE;
    const std::string bytes = toUtf8(std::u16string_view(static_cast<const WCHAR*>(text), units));
    DWORD done = 0;
    if (!WriteFile(console, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr)) return FALSE;
    *written = units;
    return TRUE;
}

// The terminal gives whole lines, so no character is cut.
BOOL ReadConsoleW(HANDLE console, LPVOID text, DWORD units, LPDWORD count, LPVOID) {
    static constinit CallSite site{__func__};
    if (site.fails() || findTerminal(console, FILE_READ_DATA) == nullptr) return FALSE;
    std::string bytes(units, 0);
    DWORD done = 0;
    if (!ReadFile(console, bytes.data(), units, &done, nullptr)) return FALSE;
    const std::u16string line = toWide(bytes.substr(0, done));
    std::memcpy(text, line.data(), line.size() * sizeof(WCHAR));
    *count = static_cast<DWORD>(line.size());
    return TRUE;
}

BOOL AttachConsole(DWORD processId) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (processId != ATTACH_PARENT_PROCESS) return refuse(ERROR_INVALID_PARAMETER);
    // The parent's console is the terminal that started this process.
    Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (terminal.get() < 0) return refuse(ERROR_INVALID_HANDLE);
    std::lock_guard hold(lock);
    streams[STDOUT_FILENO] = openHandle(std::make_shared<FileObject>(std::move(terminal), FILE_WRITE_DATA));
    return TRUE;
}
