#include "windows/Remote.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <thread>

#include "core/Encoding.h"
#include "core/Waiting.h"
#include "files/FileObject.h"
#include "machine/Machine.h"
#include "process/Surroundings.h"
#include "testing/Desktop.h"
#include "testing/Faults.h"
#include "windows/Queue.h"
#include "windows/Window.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kPatienceMs = 10'000;

fs::path desktopFolder() {
    return machineFolder() / "desktops" / desktopFolderName();
}

// A socket's name may have 107 bytes: it is reached through a descriptor of its folder.
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

void broadcast(UINT message) {
    for (const auto& window : topLevelWindows())
        post(*window->queue, {window->handle, message, 0, 0, 0, {}});
}

std::shared_ptr<Window> windowNamed(const std::string& handle) {
    return findWindow(reinterpret_cast<HWND>(std::strtoull(handle.c_str(), nullptr, 16)));
}

std::string closeWindow(const std::string& handle) {
    const auto window = windowNamed(handle);
    if (window == nullptr) return "no such window\n";
    post(*window->queue, {window->handle, WM_CLOSE, 0, 0, 0, {}});
    return "posted\n";
}

// "click x y", "drag x y x y", "type text", "end-session", "close-for-installer"
bool act(const std::string& command, std::istringstream& rest) {
    POINT from = {}, to = {};
    if (command == "click" && rest >> from.x >> from.y) {
        desktop::click(from);
    } else if (command == "drag" && rest >> from.x >> from.y >> to.x >> to.y) {
        desktop::drag(from, to);
    } else if (command == "end-session") {
        desktop::endSession();
    } else if (command == "close-for-installer") {
        desktop::closeForInstaller();
    } else if (command == "type") {
        std::string text;
        std::getline(rest >> std::ws, text);
        desktop::typeText(toWide(text));
    } else {
        return false;
    }
    return true;
}

bool isUppermostAt(const Window& window, POINT point) {
    for (const auto& other : topLevelWindows())
        if (other->visible && containsPoint(screenRect(*other), point)) return other->handle == window.handle;
    return false;
}

bool hasKeyboard(const Window& window) {
    const HWND focus = window.queue->focus;
    return focus != nullptr &&
           (focus == window.handle || std::ranges::find(window.children, focus) != window.children.end());
}

// What a user does who aims at one window: the points are counted from its corner. Nothing is done when another window
// covers the point, or has the keyboard.
std::string actIn(std::istringstream& rest) {
    std::string handle, command;
    rest >> handle >> command;
    const auto window = windowNamed(handle);
    if (window == nullptr) return "no such window\n";
    const RECT place = screenRect(*window);
    POINT from = {}, to = {};
    if (command == "type") {
        if (!hasKeyboard(*window)) return "another window has the keyboard\n";
        return act(command, rest) ? "done\n" : "";
    }
    if (command != "click" && command != "drag") return "unknown command: " + command + "\n";
    rest >> from.x >> from.y >> to.x >> to.y;
    from = {from.x + place.left, from.y + place.top};
    to = {to.x + place.left, to.y + place.top};
    if (!isUppermostAt(*window, from)) return "covered\n";
    command == "click" ? desktop::click(from) : desktop::drag(from, to);
    return "done\n";
}

// What the process has open, one kind a line.
std::string counts() {
    const std::pair<const char*, std::size_t> kinds[] = {
        {"handles", faults::openHandles()},    {"allocations", faults::openAllocations()},
        {"gdi", faults::openDrawingObjects()}, {"gdiplus", faults::openDrawing()},
        {"memory", faults::openMemory()},      {"strings", faults::openStrings()},
        {"windows", topLevelWindows().size()},
    };
    std::string text;
    for (const auto& [kind, count] : kinds)
        text += std::string(kind) + " " + std::to_string(count) + "\n";
    return text;
}

// "fault call:use=action;..." as in VELLUM_FAULTS, "faults clear"
std::string setFaults(const std::string& command, const std::string& text) {
    if (command == "faults") {
        if (text != "clear") return "unknown command: faults " + text + "\n";
        faults::clear();
        return "done\n";
    }
    std::vector<faults::Fault> parsed;
    if (!faults::parse(text, parsed)) return "malformed\n";
    for (faults::Fault& fault : parsed)
        faults::arm(std::move(fault));
    return "done\n";
}

// Runs on the thread of the windows.
std::string carryOut(const std::string& line) {
    std::istringstream deed(line);
    std::string command, argument;
    if (deed >> command; command == "in") return actIn(deed);
    if (act(command, deed)) return "done\n";
    std::istringstream words(line);
    words >> command >> argument;
    if (command == "list") return desktop::describeWindows();
    if (command == "close") return closeWindow(argument);
    if (command == "picture") return desktop::picture();
    if (command == "counts") return counts();
    if (command == "fault" || command == "faults") return setFaults(command, argument);
    if (command == "broadcast") {
        broadcast(static_cast<UINT>(std::strtoul(argument.c_str(), nullptr, 10)));
        return "posted\n";
    }
    return "unknown command: " + command + "\n";
}

// What the two threads share of one request; it outlives the one that gives up first.
struct Errand {
    std::string answer;
    bool done = false;
};

void serve(const Descriptor& connection, const std::shared_ptr<Queue>& queue) {
    std::string line = readAll(connection, '\n');
    if (!line.empty() && line.back() == '\n') line.pop_back();
    const auto errand = std::make_shared<Errand>();
    request(*queue, [errand, line] {
        std::string answer = carryOut(line);
        std::lock_guard hold(waiting::lock());
        errand->answer = std::move(answer);
        errand->done = true;
        waiting::wake();
    });
    std::unique_lock held(waiting::lock());
    if (waiting::sleepUntil(held, waiting::ticks() + kPatienceMs, [&] { return errand->done; })) {
        const std::string answer = errand->answer;
        held.unlock();
        writeAll(connection, answer);
    }
}

std::string socketFile;  // what the end of the process removes

void listenOn(const fs::path& folder, const std::shared_ptr<Queue>& queue) {
    fs::create_directories(folder);
    const std::string name = std::to_string(getpid()), early = "new-" + name;
    socketFile = folder / name;
    unlink((folder / early).c_str());
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Descriptor opened = openFolder(folder);
    const sockaddr_un address = addressIn(opened, early);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
    if (listen(listener.get(), 16) != 0) return;
    // Only now may it be found: whoever is refused by a socket takes its process for dead and removes it.
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
        if (errno == ECONNREFUSED) unlinkat(folder.get(), name.c_str(), 0);  // its process was killed
        return false;
    }
    writeAll(connection, line + "\n");
    answer = readAll(connection, 0);
    return true;
}

}  // namespace

void desktop::serveFromOutside() {
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
