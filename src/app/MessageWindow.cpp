// The hidden message window: its message loop, its message table, the five-second timer, and the rescue of notes that a
// display change has left off screen. Main thread.
#include "app/MessageWindow.h"

#include <iterator>

#include "app/App.h"
#include "common/Logger.h"
#include "common/Messages.h"
#include "common/Monitors.h"
#include "window/Placement.h"

UINT wakeUpMessage = 0;

namespace {

constexpr const WCHAR* kComponent = TEXT("App");
constexpr const WCHAR* kClassName = TEXT("Vellumd.MsgWindow");

bool registerMessageClass(HINSTANCE instance, WNDPROC procedure) {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.lpfnWndProc = procedure;
    description.hInstance = instance;
    description.lpszClassName = kClassName;
    return RegisterClassExW(&description) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

// The handler owns the text of a message: it is freed after `work`.
template <typename Work>
void withText(LPARAM lParam, Work work) {
    const OwnedText text = takeText(lParam);
    if (text != nullptr) work(WideString(text.get()));
}

}  // namespace

int runMessageLoop() {
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

bool App::createMessageWindow() {
    if (registerMessageClass(hInstance_, messageWindowProc))
        messageWindow_ =
            CreateWindowExW(0, kClassName, TEXT(""), 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, hInstance_, this);
    if (messageWindow_ != nullptr) return true;
    logWrite(LogLevel::Error, kComponent, TEXT("Failed to create message window; err=%lu"), GetLastError());
    return false;
}

LRESULT CALLBACK App::messageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        void* const app = reinterpret_cast<const CREATESTRUCTW*>(lParam)->lpCreateParams;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(app));
    }
    App* const app = reinterpret_cast<App*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (app == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    return app->handleMessage(window, message, wParam, lParam);
}

constexpr MessageRow<App::Handler> App::kHandled[] = {
    {WM_APP_FILE_ADDED, &App::onFileAddedMessage},
    {WM_APP_FILE_REMOVED, &App::onFileRemovedMessage},
    {WM_APP_NOTE_DISMISS, &App::onNoteDismissMessage},
    {WM_APP_NOTE_MOVED, &App::onNoteSaveMessage},
    {WM_APP_NOTE_CHANGED, &App::onNoteSaveMessage},
    {WM_APP_NOTE_NEW, &App::onNoteNewMessage},
    {WM_TIMER, &App::onTimer},
    {WM_DESTROY, &App::onDestroy},
    {WM_ENDSESSION, &App::onEndSession},
    {WM_SETTINGCHANGE, &App::onDisplayChange},
    {WM_DISPLAYCHANGE, &App::onDisplayChange},
};

LRESULT App::handleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (wakeUpMessage != 0 && message == wakeUpMessage) {
        scanFolder();
        return 0;
    }
    static_assert(areDistinct(kHandled));
    const Handler handler = handlerOf(kHandled, message);
    if (handler == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    (this->*handler)(wParam, lParam);
    return 0;
}

void App::onFileAddedMessage(WPARAM, LPARAM path) {
    withText(path, [this](const WideString& text) { onFileChanged(text); });
}

void App::onFileRemovedMessage(WPARAM, LPARAM path) {
    withText(path, [this](const WideString& text) { onFileRemoved(text); });
}

void App::onNoteDismissMessage(WPARAM, LPARAM id) {
    withText(id, [this](const WideString& text) { dismissNote(text); });
}

void App::onNoteSaveMessage(WPARAM, LPARAM id) {
    withText(id, [this](const WideString& text) {
        if (const NoteWindowPtr* window = notes_.find(text)) saveNote(window->get());
    });
}

void App::onNoteNewMessage(WPARAM, LPARAM) {
    createNewNote();
}

void App::onTimer(WPARAM, LPARAM) {
    ownWrites_.forgetOlder(GetTickCount64());
}

void App::onDestroy(WPARAM, LPARAM) {
    PostQuitMessage(0);
}

void App::onEndSession(WPARAM isEnding, LPARAM) {
    if (isEnding == 0) return;
    for (auto& [id, window] : notes_)
        saveNote(window.get());
}

void App::onDisplayChange(WPARAM, LPARAM) {
    for (auto& [id, window] : notes_)
        rescueFromOffScreen(*window);
}

// Moves a note that no monitor shows to the middle of the primary one, and saves it. The record still has the old
// position here: the window updates it with its next edit or move.
void App::rescueFromOffScreen(NoteWindow& window) {
    RECT rect = {};
    if (window.hwnd() == nullptr) return;
    GetWindowRect(window.hwnd(), &rect);
    if (MonitorFromRect(&rect, MONITOR_DEFAULTTONULL) != nullptr) return;
    const RECT centre = centredIn(primaryMonitor().workArea, widthOf(rect), heightOf(rect));
    SetWindowPos(window.hwnd(), HWND_TOPMOST, centre.left, centre.top, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
    saveNote(&window);
}
