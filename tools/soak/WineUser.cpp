// Acts as a user of the notes under Wine. Reads requests line by line and answers in the format of the stand-in's
// driver; each answer ends with a line that holds a dot. It sends the messages that mouse and keyboard would cause, so
// it does not matter if windows cover each other.
//
//     displays                        the processes that have a Vellumd.MsgWindow
//     list PROCESS                    the windows of the process
//     in WINDOW click X Y | drag X Y X Y | type TEXT
//     close WINDOW
#include <windows.h>

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr UINT kPatienceMs = 10'000;

using WideString = std::basic_string<WCHAR>;

std::string utf8(const WideString& text) {
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(
        static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                     bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

HWND windowOf(const std::string& number) {
    return reinterpret_cast<HWND>(std::strtoull(number.c_str(), nullptr, 16));
}

DWORD_PTR send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, kPatienceMs, &answer);
    return answer;
}

WideString textOf(HWND window) {
    WideString text(send(window, WM_GETTEXTLENGTH) + 1, TEXT('\0'));
    text.resize(send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data())));
    return text;
}

WideString classOf(HWND window) {
    WCHAR name[64];
    return {name, static_cast<std::size_t>(GetClassNameW(window, name, 64))};
}

DWORD processOf(HWND window) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process;
}

std::vector<HWND> messageWindows() {
    std::vector<HWND> found;
    for (HWND window = nullptr;
         (window = FindWindowExW(HWND_MESSAGE, window, TEXT("Vellumd.MsgWindow"), nullptr)) != nullptr;)
        found.push_back(window);
    return found;
}

void describe(HWND window, const char* indent) {
    RECT rect = {};
    GetWindowRect(window, &rect);
    std::cout << indent << std::hex << reinterpret_cast<ULONG_PTR>(window) << std::dec << ' ' << rect.left << ','
              << rect.top << ' ' << rect.right - rect.left << 'x' << rect.bottom - rect.top << " style=" << std::hex
              << GetWindowLongW(window, GWL_STYLE) << " ex=" << GetWindowLongW(window, GWL_EXSTYLE) << std::dec
              << " shown " << utf8(classOf(window)) << " \"" << utf8(textOf(window)) << "\"\n";
}

BOOL CALLBACK describeChild(HWND window, LPARAM) {
    describe(window, "  ");
    return TRUE;
}

BOOL CALLBACK describeNote(HWND window, LPARAM process) {
    if (processOf(window) != static_cast<DWORD>(process) || classOf(window) != TEXT("Vellumd.NoteWindow")) return TRUE;
    describe(window, "");
    EnumChildWindows(window, describeChild, 0);
    return TRUE;
}

void list(DWORD process) {
    EnumWindows(describeNote, static_cast<LPARAM>(process));
    for (const HWND window : messageWindows())
        if (processOf(window) == process) describe(window, "");
}

HWND typedInto = nullptr;  // the control that was last clicked

void click(HWND window, POINT point) {
    POINT screen = point;
    ClientToScreen(window, &screen);
    const LPARAM at = MAKELPARAM(screen.x, screen.y);
    const auto zone = static_cast<LRESULT>(send(window, WM_NCHITTEST, 0, at));
    typedInto = RealChildWindowFromPoint(window, point);
    if (typedInto != nullptr && typedInto != window) {
        MapWindowPoints(window, typedInto, &point, 1);
        send(typedInto, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
        send(typedInto, WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
        send(typedInto, EM_SETSEL, 0,
             0);  // type at the start, not in the middle of an earlier text
    } else if (zone != HTCLIENT) {
        send(window, WM_NCLBUTTONDOWN, static_cast<WPARAM>(zone), at);
        send(window, WM_NCLBUTTONUP, static_cast<WPARAM>(zone), at);
    }
}

// A drag from the caption moves the note; from elsewhere it sizes the lower right corner.
void drag(HWND window, POINT from, POINT to) {
    RECT rect = {};
    GetWindowRect(window, &rect);
    const LPARAM at = MAKELPARAM(rect.left + from.x, rect.top + from.y);
    const bool moves = send(window, WM_NCHITTEST, 0, at) == HTCAPTION;
    const int x = to.x - from.x, y = to.y - from.y;
    send(window, WM_ENTERSIZEMOVE);
    SetWindowPos(window, nullptr, rect.left + (moves ? x : 0), rect.top + (moves ? y : 0),
                 rect.right - rect.left + (moves ? 0 : x), rect.bottom - rect.top + (moves ? 0 : y),
                 SWP_NOZORDER | SWP_NOACTIVATE);
    send(window, WM_EXITSIZEMOVE);
}

const char* actIn(std::istringstream& rest) {
    std::string number, command, text;
    POINT from = {}, to = {};
    rest >> number >> command;
    const HWND window = windowOf(number);
    if (!IsWindow(window)) return "no such window";
    if (command == "type") {
        if (GetParent(typedInto) != window) return "another window has the keyboard";
        std::getline(rest >> std::ws, text);
        for (const char letter : text)
            send(typedInto, WM_CHAR, static_cast<WPARAM>(letter), 1);
        return "done";
    }
    rest >> from.x >> from.y >> to.x >> to.y;
    if (command == "click")
        click(window, from);
    else if (command == "drag")
        drag(window, from, to);
    else
        return "unknown command";
    return "done";
}

void carryOut(const std::string& line) {
    std::istringstream words(line);
    std::string command, argument;
    words >> command;
    if (command == "in") {
        std::cout << actIn(words) << '\n';
        return;
    }
    words >> argument;
    if (command == "displays") {
        for (const HWND window : messageWindows())
            std::cout << processOf(window) << '\n';
    } else if (command == "list") {
        list(static_cast<DWORD>(std::stoul(argument)));
    } else if (command == "close") {
        std::cout << (PostMessageW(windowOf(argument), WM_CLOSE, 0, 0) ? "posted\n" : "no such window\n");
    } else {
        std::cout << "unknown command\n";
    }
}

}  // namespace

int main() {
    for (std::string line; std::getline(std::cin, line);) {
        while (!line.empty() && line.back() == '\r')
            line.pop_back();
        carryOut(line);
        std::cout << "." << std::endl;
    }
}
