#include "Program.h"

#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "common/Folders.h"
#include "common/Paths.h"

namespace {

constexpr double kLongest = 60000;
constexpr int kTriesBetweenLooks = 20;
constexpr UINT kAnswerMs = 60000;

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "vellum-desktop-bench: %s (err=%lu)\n", what, GetLastError());
    std::fflush(nullptr);
    std::exit(1);
}

BOOL CALLBACK gather(HWND window, LPARAM into) {
    reinterpret_cast<std::vector<HWND>*>(into)->push_back(window);
    return TRUE;
}

bool isPainted(HWND window) {
    return !GetUpdateRect(window, nullptr, FALSE);
}

bool isWhollyPainted(HWND note) {
    if (!isPainted(note)) return false;
    for (HWND child = GetWindow(note, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT))
        if (!isPainted(child)) return false;
    return true;
}

}  // namespace

double nowInMilliseconds() {
    LARGE_INTEGER count, perSecond;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(count.QuadPart) * 1e3 / static_cast<double>(perSecond.QuadPart);
}

Program::Program(const WideString& executable, const WideString& arguments, const WideString& noteClass)
    : noteClass_(noteClass) {
    const WideString image = joinPath(parentPath(executablePath()), executable);
    WideString commandLine = TEXT("\"") + image + TEXT("\" ") + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    startedAt_ = nowInMilliseconds();
    if (!CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &child))
        giveUp("a program does not start");
    CloseHandle(child.hThread);
    process_.reset(child.hProcess);
    id_ = child.dwProcessId;
}

Program::~Program() {
    TerminateProcess(process_.get(), 0);
    WaitForSingleObject(process_.get(), 5000);
}

// Each window is asked for its class only once, because the question itself costs time.
void Program::findNotes() {
    std::vector<HWND> all;
    EnumWindows(gather, reinterpret_cast<LPARAM>(&all));
    for (const HWND window : all) {
        if (known_.count(window) != 0) continue;
        WCHAR name[64];
        DWORD owner = 0;
        const int units = GetClassNameW(window, name, 64);
        GetWindowThreadProcessId(window, &owner);
        known_[window] = owner == id_ && sameText(WideView(name, static_cast<std::size_t>(units)), noteClass_);
    }
}

std::vector<HWND> Program::notes() const {
    std::vector<HWND> found;
    for (const auto& [window, isNote] : known_)
        if (isNote) found.push_back(window);
    return found;
}

bool Program::areShown(std::size_t count) {
    findNotes();
    const std::vector<HWND> windows = notes();
    if (windows.size() < count || !std::all_of(windows.begin(), windows.end(), IsWindowVisible)) return false;
    // The program answers when it is back in its message loop.
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(windows.back(), WM_NULL, 0, 0, SMTO_NORMAL, kAnswerMs, &answer);
    return std::all_of(windows.begin(), windows.end(), isWhollyPainted);
}

// Enumerating windows slows the program down. So during a start this waits until the program waits for messages, and
// then only looks at the topmost window before it enumerates again.
double Program::waitForNotes(std::size_t count, double since) {
    if (!hasBeenIdle_) WaitForInputIdle(process_.get(), static_cast<DWORD>(kLongest));
    hasBeenIdle_ = true;
    while (!areShown(count)) {
        if (nowInMilliseconds() - since > kLongest) giveUp("the notes do not appear");
        waitForNewTop();
    }
    return nowInMilliseconds() - since;
}

void Program::waitForNewTop() {
    const HWND before = top_;
    for (int tries = 0; tries < kTriesBetweenLooks && top_ == before; ++tries) {
        if (WaitForSingleObject(process_.get(), 1) == WAIT_OBJECT_0) giveUp("a program has ended");
        top_ = FindWindowW(noteClass_.c_str(), nullptr);
    }
}

Memory Program::memory() const {
    PROCESS_MEMORY_COUNTERS_EX counters = {};
    counters.cb = sizeof counters;
    if (!GetProcessMemoryInfo(process_.get(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters))
        giveUp("no memory counters");
    return {static_cast<double>(counters.WorkingSetSize), static_cast<double>(counters.PrivateUsage)};
}
