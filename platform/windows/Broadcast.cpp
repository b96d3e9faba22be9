// Registered window messages, and broadcasts to all windows of a session.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <fstream>

#include "core/Descriptor.h"
#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Ordinal.h"
#include "machine/Machine.h"
#include "windows/Remote.h"
#include "windows/Window.h"

using namespace platform;

// Line n of the machine's list holds the name of message 0xC000 + n.
UINT RegisterWindowMessageW(LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    const std::string path = machineFolder() / "messages.txt";
    const Descriptor held(open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    if (held.get() < 0 || flock(held.get(), LOCK_EX) != 0) return refuse(ERROR_GEN_FAILURE);
    std::ifstream list(path);
    UINT number = 0xC000;
    for (std::string line; std::getline(list, line); ++number)
        if (equalsOrdinal(toWide(line), name)) return number;
    const std::string line = toUtf8(name) + "\n";
    return write(held.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()) ? number : 0;
}

// Skips the windows of this process, as BSF_IGNORECURRENTTASK requests.
LONG BroadcastSystemMessageW(DWORD, LPDWORD, UINT message, WPARAM, LPARAM) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    remote::ask("broadcast " + std::to_string(message), false);
    return 1;
}
