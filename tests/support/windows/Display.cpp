#include "support/Display.h"

#include <list>

#include "common/Folders.h"
#include "common/Handles.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"

struct DisplayProcess::Platform {
    WaitHandle process;
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

std::vector<ShownWindow> DisplayProcess::notes() const {
    Listing listing = {platform_->id, {}};
    EnumWindows(listNote, reinterpret_cast<LPARAM>(&listing));
    return listing.windows;
}

bool DisplayProcess::end(DWORD& exitCode) {
    for (HWND window = nullptr;
         (window = FindWindowExW(HWND_MESSAGE, window, TEXT("Vellumd.MsgWindow"), nullptr)) != nullptr;)
        if (isOf(window, platform_->id, TEXT("Vellumd.MsgWindow"))) PostMessageW(window, WM_CLOSE, 0, 0);
    if (WaitForSingleObject(platform_->process.get(), 20000) != WAIT_OBJECT_0) return false;
    GetExitCodeProcess(platform_->process.get(), &exitCode);
    platform_->process.reset();
    return true;
}
