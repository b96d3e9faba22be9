#include "support/Display.h"

#include <list>

#include "common/Folders.h"
#include "common/Handles.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/windows/Mouse.h"

struct DisplayProcess::Platform {
    KernelHandle process;
    DWORD id = 0;
};

namespace {

bool isOf(HWND window, DWORD processId, WideView kind) {
    DWORD owner = 0;
    WCHAR name[64];
    GetWindowThreadProcessId(window, &owner);
    const int units = GetClassNameW(window, name, 64);
    return owner == processId && sameText(WideView(name, static_cast<std::size_t>(units)), kind);
}

struct Listing {
    DWORD processId;
    std::vector<ShownWindow> windows;
};

BOOL CALLBACK listNote(HWND window, LPARAM into) {
    Listing& listing = *reinterpret_cast<Listing*>(into);
    if (!isOf(window, listing.processId, TEXT("Vellumd.NoteWindow"))) return TRUE;
    ShownWindow shown;
    shown.handle = reinterpret_cast<std::uintptr_t>(window);
    GetWindowRect(window, &shown.rect);
    shown.style = static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
    shown.exStyle = static_cast<DWORD>(GetWindowLongW(window, GWL_EXSTYLE));
    shown.isVisible = IsWindowVisible(window) != FALSE;
    shown.isActive = GetForegroundWindow() == window;
    listing.windows.push_back(shown);
    return TRUE;
}

// Sends real mouse input. The system delivers it to the windows in order.
void mouse(DWORD what, LONG x, LONG y) {
    const LONG width = GetSystemMetrics(SM_CXSCREEN), height = GetSystemMetrics(SM_CYSCREEN);
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dx = (x * 65536 + 32768) / width;
    input.mi.dy = (y * 65536 + 32768) / height;
    input.mi.dwFlags = what | MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
    SendInput(1, &input, sizeof input);
}

// Whether the user is moving or sizing a window of this thread.
bool isInMoveLoop(DWORD thread) {
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    return GetGUIThreadInfo(thread, &info) && (info.flags & GUI_INMOVESIZE) != 0;
}

void tellEndOfSession(const std::vector<ShownWindow>& windows, LPARAM reason) {
    for (const UINT message : {WM_QUERYENDSESSION, WM_ENDSESSION})
        for (const ShownWindow& window : windows)
            SendMessageTimeoutW(reinterpret_cast<HWND>(window.handle), message, message == WM_ENDSESSION, reason,
                                SMTO_NORMAL, 10000, nullptr);
}

}  // namespace

DisplayProcess::DisplayProcess(const WideString& arguments, const Environment& environment)
    : platform_(std::make_unique<Platform>()) {
    const WideString image = joinPath(parentPath(executablePath()), TEXT("Vellumd.exe"));
    WideString commandLine = TEXT("\"") + image + TEXT("\" ") + arguments;
    std::list<EnvironmentScope> inherited;
    for (const auto& [name, value] : environment)
        inherited.emplace_back(wide(name).c_str(), wide(value).c_str());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    if (!CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &child))
        return;
    CloseHandle(child.hThread);
    platform_->process.reset(child.hProcess);
    platform_->id = child.dwProcessId;
}

DisplayProcess::~DisplayProcess() {
    if (!platform_->process) return;
    TerminateProcess(platform_->process.get(), 0xff);
    WaitForSingleObject(platform_->process.get(), 5000);
}

void moveMouse(LONG x, LONG y) {
    mouse(0, x, y);
}

std::vector<ShownWindow> DisplayProcess::notes() const {
    Listing listing = {platform_->id, {}};
    EnumWindows(listNote, reinterpret_cast<LPARAM>(&listing));
    return listing.windows;
}

int DisplayProcess::end() {
    for (HWND window = nullptr;
         (window = FindWindowExW(HWND_MESSAGE, window, TEXT("Vellumd.MsgWindow"), nullptr)) != nullptr;)
        if (isOf(window, platform_->id, TEXT("Vellumd.MsgWindow"))) PostMessageW(window, WM_CLOSE, 0, 0);
    return ends();
}

int DisplayProcess::ends() {
    if (WaitForSingleObject(platform_->process.get(), 20000) != WAIT_OBJECT_0) return -1;
    DWORD exitCode = 0;
    GetExitCodeProcess(platform_->process.get(), &exitCode);
    platform_->process.reset();
    return static_cast<int>(exitCode);
}

void DisplayProcess::endSession() const {
    tellEndOfSession(notes(), 0);
}

void DisplayProcess::closeForInstaller() const {
    const std::vector<ShownWindow> windows = notes();
    tellEndOfSession(windows, ENDSESSION_CLOSEAPP);
    for (const ShownWindow& window : windows)
        PostMessageW(reinterpret_cast<HWND>(window.handle), WM_CLOSE, 0, 0);
}

void DisplayProcess::click(LONG x, LONG y) const {
    mouse(0, x, y);
    mouse(MOUSEEVENTF_LEFTDOWN, x, y);
    mouse(MOUSEEVENTF_LEFTUP, x, y);
}

void DisplayProcess::drag(LONG fromX, LONG fromY, LONG toX, LONG toY) const {
    constexpr LONG kSteps = 10;
    const HWND window = GetAncestor(WindowFromPoint({fromX, fromY}), GA_ROOT);
    const DWORD thread = GetWindowThreadProcessId(window, nullptr);
    RECT before = {};
    GetWindowRect(window, &before);
    mouse(0, fromX, fromY);
    mouse(MOUSEEVENTF_LEFTDOWN, fromX, fromY);
    eventually([thread] { return isInMoveLoop(thread); });
    for (LONG step = 1; step <= kSteps; ++step)
        mouse(0, fromX + (toX - fromX) * step / kSteps, fromY + (toY - fromY) * step / kSteps);
    // Wine reports older pointer positions late. So repeat the last move until the window has followed it. A move and a
    // resize both move the bottom right corner.
    eventually([&] {
        POINT at = {};
        if (GetCursorPos(&at) && (at.x != toX || at.y != toY)) mouse(0, toX, toY);
        RECT rect = {};
        GetWindowRect(window, &rect);
        return rect.right == before.right + toX - fromX && rect.bottom == before.bottom + toY - fromY;
    });
    mouse(MOUSEEVENTF_LEFTUP, toX, toY);
    eventually([thread] { return !isInMoveLoop(thread); });
}

void DisplayProcess::typeIntoBody(const std::string& text) const {
    const HWND note = reinterpret_cast<HWND>(notes().at(0).handle);
    const HWND body = FindWindowExW(note, nullptr, TEXT("RICHEDIT50W"), nullptr);
    for (const char character : text)
        SendMessageTimeoutW(body, WM_CHAR, static_cast<WPARAM>(character), 1, SMTO_NORMAL, 10000, nullptr);
}
