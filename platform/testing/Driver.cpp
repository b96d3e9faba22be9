// Executes the commands that a person or a script sends to a process with windows (docs/platform.md), on the thread of
// the windows. Also connects the upper layers to the lower ones.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "controls/TextControl.h"
#include "core/Encoding.h"
#include "testing/Desktop.h"
#include "testing/Faults.h"
#include "windows/Queue.h"
#include "windows/Remote.h"
#include "windows/Window.h"

namespace platform {
namespace {

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
bool useDesktop(const std::string& command, std::istringstream& rest) {
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

// "in <window> click x y" and similar: the coordinates are relative to the window's corner. Does nothing if another
// window covers the point or has the focus.
std::string useWindow(std::istringstream& rest) {
    std::string handle, command;
    rest >> handle >> command;
    const auto window = windowNamed(handle);
    if (window == nullptr) return "no such window\n";
    const RECT place = screenRect(*window);
    POINT from = {}, to = {};
    if (command == "type") {
        if (!hasKeyboard(*window)) return "another window has the keyboard\n";
        return useDesktop(command, rest) ? "done\n" : "";
    }
    if (command != "click" && command != "drag") return "unknown command: " + command + "\n";
    rest >> from.x >> from.y >> to.x >> to.y;
    from = {from.x + place.left, from.y + place.top};
    to = {to.x + place.left, to.y + place.top};
    if (!isUppermostAt(*window, from)) return "covered\n";
    command == "click" ? desktop::click(from) : desktop::drag(from, to);
    return "done\n";
}

// The open resources of the process, one kind per line.
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

std::string answerTo(const std::string& line) {
    std::istringstream request(line), words(line);
    std::string command, argument;
    if (request >> command; command == "in") return useWindow(request);
    if (useDesktop(command, request)) return "done\n";
    words >> command >> argument;
    if (command == "list") return desktop::describeWindows();
    if (command == "close") return closeWindow(argument);
    if (command == "picture") return desktop::picture();
    if (command == "counts") return counts();
    if (command == "fault" || command == "faults") return setFaults(command, argument);
    return "unknown command: " + command + "\n";
}

// VELLUM_PICTURE names a file. Whenever the process is idle, this updates the file with a picture of the windows.
void keepPicture() {
    std::ofstream(std::getenv("VELLUM_PICTURE")) << desktop::picture();
}

bool connectLayers() {
    faults::armFromEnvironment();
    registerEdit();
    remote::driveWith(answerTo);
    if (std::getenv("VELLUM_PICTURE") != nullptr) callWhenIdle(keepPicture);
    return true;
}

}  // namespace
}  // namespace platform

// Runs before main(). CMake makes the linker keep this symbol, so that every program contains this file.
extern "C" const bool vellumLayersAreConnected;
const bool vellumLayersAreConnected = platform::connectLayers();
