// The socket of a process with windows. A separate thread accepts the requests; the thread of the windows answers them.
// Broadcast.cpp sends requests to other processes.
#include "windows/Remote.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <thread>

#include "core/Descriptor.h"
#include "core/Waiting.h"
#include "machine/Machine.h"
#include "process/Surroundings.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {
namespace {

namespace fs = std::filesystem;
using remote::Driver;

constexpr std::uint64_t kPatienceMs = 10'000;

fs::path desktopFolder() {
    return machineFolder() / "desktops" / desktopFolderName();
}

// A socket path is limited to 107 bytes, so this addresses it through a descriptor of its folder.
sockaddr_un addressIn(const Descriptor& folder, const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

Descriptor openFolder(const fs::path& folder) {
    return Descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::string readAll(const Descriptor& from, char until) {
    std::string text;
    char bytes[4096];
    for (ssize_t got = 0; (got = read(from.get(), bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<std::size_t>(got));
        if (until != 0 && text.find(until) != std::string::npos) break;
    }
    return text;
}

void writeAll(const Descriptor& to, std::string_view text) {
    while (!text.empty()) {
        const ssize_t put = send(to.get(), text.data(), text.size(), MSG_NOSIGNAL);
        if (put <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(put));
    }
}

constinit Driver driver = nullptr;

void broadcast(UINT message) {
    for (const auto& window : topLevelWindows())
        post(*window->queue, {window->handle, message, 0, 0, 0, {}});
}

// Runs on the thread of the windows.
std::string answerTo(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    UINT message = 0;
    if (words >> command >> message && command == "broadcast") {
        broadcast(message);
        return "posted\n";
    }
    return driver == nullptr ? "unknown command: " + command + "\n" : driver(line);
}

// The result that the two threads share. It lives until both are done with it.
struct Reply {
    std::string answer;
    bool done = false;
};

void serve(const Descriptor& connection, const std::shared_ptr<Queue>& queue) {
    std::string line = readAll(connection, '\n');
    if (!line.empty() && line.back() == '\n') line.pop_back();
    const auto reply = std::make_shared<Reply>();
    request(*queue, [reply, line] {
        std::string answer = answerTo(line);
        std::lock_guard hold(waiting::lock());
        reply->answer = std::move(answer);
        reply->done = true;
        waiting::wake();
    });
    std::unique_lock held(waiting::lock());
    if (waiting::sleepUntil(held, waiting::ticks() + kPatienceMs, [&] { return reply->done; })) {
        const std::string answer = reply->answer;
        held.unlock();
        writeAll(connection, answer);
    }
}

std::string socketFile;  // removed when the process exits

void listenOn(const fs::path& folder, const std::shared_ptr<Queue>& queue) {
    fs::create_directories(folder);
    const std::string name = std::to_string(getpid()), early = "new-" + name;
    socketFile = folder / name;
    unlink((folder / early).c_str());
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Descriptor opened = openFolder(folder);
    const sockaddr_un address = addressIn(opened, early);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
    if (::listen(listener.get(), 16) != 0) return;
    // The socket gets its final name last. A client that is refused would think that the process is dead and remove the
    // file.
    if (renameat(opened.get(), early.c_str(), opened.get(), name.c_str()) != 0) return;
    std::atexit([] { unlink(socketFile.c_str()); });
    std::thread([listener = std::move(listener), queue] {
        for (;;) {
            const Descriptor connection(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (connection.get() >= 0) serve(connection, queue);
        }
    }).detach();
}

bool askOne(const Descriptor& folder, const std::string& name, const std::string& line, std::string& answer) {
    const Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressIn(folder, name);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno == ECONNREFUSED) unlinkat(folder.get(), name.c_str(), 0);  // the process was killed
        return false;
    }
    writeAll(connection, line + "\n");
    answer = readAll(connection, 0);
    return true;
}

}  // namespace

void remote::driveWith(Driver answer) {
    driver = answer;
}

void remote::listen() {
    static std::once_flag once;
    std::call_once(once, [] { listenOn(desktopFolder(), currentQueue()); });
}

void remote::ask(const std::string& line, bool alsoThisProcess,
                 const std::function<void(int, const std::string&)>& answered) {
    const fs::path path = desktopFolder();
    const Descriptor folder = openFolder(path);
    if (folder.get() < 0) return;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) {
        const int processId = std::atoi(entry.path().filename().c_str());
        if (processId == 0 || (processId == getpid() && !alsoThisProcess)) continue;
        std::string answer;
        if (askOne(folder, entry.path().filename(), line, answer) && answered) answered(processId, answer);
    }
}

std::string remote::askProcess(int processId, const std::string& line) {
    const Descriptor folder = openFolder(desktopFolder());
    std::string answer;
    if (folder.get() >= 0) askOne(folder, std::to_string(processId), line, answer);
    return answer;
}

}  // namespace platform
