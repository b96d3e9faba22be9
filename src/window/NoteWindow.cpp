#include "window/NoteWindow.h"

#include "app/App.h"
#include "common/Logger.h"
#include "common/Monitors.h"
#include "window/Placement.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("NoteWindow");
constexpr const WCHAR* kClassName = TEXT("Vellumd.NoteWindow");

}  // namespace

bool NoteWindow::registerClass(HINSTANCE instance) {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.style = CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_DROPSHADOW;
    description.lpfnWndProc = staticWindowProc;
    description.hInstance = instance;
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.lpszClassName = kClassName;
    return RegisterClassExW(&description) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

NoteWindow::NoteWindow(App* app, NoteRecord note) : app_(app), note_(std::move(note)) {}

// A window that outlives its object gets the system's behaviour from then on.
NoteWindow::~NoteWindow() {
    if (hwnd_ != nullptr) SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
}

bool NoteWindow::create() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    if (!registerClass(instance)) return false;
    RECT place = choosePlace();
    if (app_ != nullptr) place = app_->resolveOverlap(place, nullptr);
    CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, kClassName, TEXT(""), WS_POPUP | WS_CLIPCHILDREN, place.left,
                    place.top, note_.width, note_.height, nullptr, nullptr, instance, this);
    if (hwnd_ == nullptr) {
        logWrite(LogLevel::Error, kComponent, TEXT("CreateWindowExW failed for id=%ls (err=%lu)"), note_.id.c_str(),
                 GetLastError());
        return false;
    }
    captureNotePlacement();
    ShowWindow(hwnd_, SW_SHOWNOACTIVATE);
    UpdateWindow(hwnd_);
    return true;
}

// A stored place stands wherever it still touches a monitor, be it another one than the note names.
RECT NoteWindow::choosePlace() const {
    MonitorInfo anchor;
    if (!findMonitorByDevice(note_.monitorDevice, anchor)) anchor = primaryMonitor();
    if (note_.hasPosition) {
        const RECT stored = rectAt(note_.x, note_.y, note_.width, note_.height);
        if (MonitorFromRect(&stored, MONITOR_DEFAULTTONULL) != nullptr) return stored;
        return centredIn(anchor.workArea, note_.width, note_.height);
    }
    const LONG dpi = monitorDpi(MonitorFromRect(&anchor.workArea, MONITOR_DEFAULTTONEAREST));
    return topRightCorner(anchor.workArea, dpi, note_.width, note_.height);
}

void NoteWindow::captureNotePlacement() {
    RECT rect = {};
    if (hwnd_ == nullptr || !GetWindowRect(hwnd_, &rect)) return;
    note_.x = rect.left;
    note_.y = rect.top;
    note_.width = widthOf(rect);
    note_.height = heightOf(rect);
    note_.hasPosition = true;
    MONITORINFOEXW monitor = {};
    if (!readMonitor(MonitorFromWindow(hwnd_, MONITOR_DEFAULTTONEAREST), monitor)) return;
    note_.monitorDevice = monitor.szDevice;
    note_.monitorBounds = monitor.rcMonitor;
}

// Without its App the window has nobody to tell that it goes.
void NoteWindow::close() {
    if (hwnd_ == nullptr) return;
    app_ = nullptr;
    DestroyWindow(hwnd_);
}

void NoteWindow::applyNote(NoteRecord note) {
    note_ = std::move(note);
}

LRESULT CALLBACK NoteWindow::staticWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* const note = static_cast<NoteWindow*>(reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams);
        note->hwnd_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(note));
    }
    auto* const note = reinterpret_cast<NoteWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return note == nullptr ? DefWindowProcW(window, message, wParam, lParam)
                           : note->windowProc(message, wParam, lParam);
}

const NoteWindow::Handled NoteWindow::kHandled[] = {
    {WM_MOVE, &NoteWindow::onMove},           {WM_SIZE, &NoteWindow::onSize},
    {WM_ACTIVATE, &NoteWindow::onActivate},   {WM_WINDOWPOSCHANGING, &NoteWindow::onPosChanging},
    {WM_NCDESTROY, &NoteWindow::onNcDestroy},
};

LRESULT NoteWindow::windowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    for (const Handled& handled : kHandled)
        if (handled.message == message) return (this->*handled.handler)(wParam, lParam);
    return DefWindowProcW(hwnd_, message, wParam, lParam);
}

LRESULT NoteWindow::onMove(WPARAM, LPARAM) {
    if (app_ != nullptr) app_->followPlace(*this);
    return 0;
}

LRESULT NoteWindow::onSize(WPARAM, LPARAM size) {
    note_.width = LOWORD(size);
    note_.height = HIWORD(size);
    if (app_ != nullptr) app_->followPlace(*this);
    return 0;
}

LRESULT NoteWindow::onActivate(WPARAM how, LPARAM other) {
    if (LOWORD(how) != WA_INACTIVE)
        SetWindowPos(hwnd_, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    return DefWindowProcW(hwnd_, WM_ACTIVATE, how, other);
}

// Whoever changes the order of the windows, the note stays above the others.
LRESULT NoteWindow::onPosChanging(WPARAM wParam, LPARAM position) {
    auto* const wanted = reinterpret_cast<WINDOWPOS*>(position);
    if ((wanted->flags & SWP_NOZORDER) == 0 && wanted->hwndInsertAfter != HWND_TOPMOST)
        wanted->hwndInsertAfter = HWND_TOPMOST;
    return DefWindowProcW(hwnd_, WM_WINDOWPOSCHANGING, wParam, position);
}

LRESULT NoteWindow::onNcDestroy(WPARAM, LPARAM) {
    SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
    hwnd_ = nullptr;
    return 0;
}
