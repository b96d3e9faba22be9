// The least program that shows the windows of notes: no files, no format, no log, no edits, no saves.
//
//   vellum-desktop-floor show COUNT     shows COUNT notes and waits
//   vellum-desktop-floor watch FOLDER   shows one more note for each .json file that appears in the folder
#include <windows.h>

#include <richedit.h>
#include <shellapi.h>

#include <string>

#include "Grid.h"

namespace {

using Text = std::basic_string<WCHAR>;

constexpr COLORREF kColor = 0x004DEBFE;
constexpr LONG kHeader = 26, kFooter = 20, kPad = 10;
constexpr int kFirstWatched = 55;  // in the lower half of the grid, so that it does not cover the notes of Vellumd

struct Shared {
    HINSTANCE instance;
    HBRUSH brush;
    int shown;
};
Shared shared = {};

LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ERASEBKGND) return 1;
    if (message != WM_PAINT) return DefWindowProcW(window, message, wParam, lParam);
    PAINTSTRUCT paint = {};
    const HDC target = BeginPaint(window, &paint);
    FillRect(target, &paint.rcPaint, shared.brush);
    EndPaint(window, &paint);
    return 0;
}

bool registerClass() {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.style = CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_DROPSHADOW;
    description.lpfnWndProc = procedure;
    description.hInstance = shared.instance;
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.lpszClassName = VELLUM_FLOOR_CLASS;
    return RegisterClassExW(&description) != 0;
}

HFONT makeFont(LONG height, LONG weight) {
    return CreateFontW(-height, 0, 0, 0, weight, 0, 0, 0, DEFAULT_CHARSET, 0, 0, CLEARTYPE_QUALITY, 0,
                       TEXT("Segoe UI"));
}

HWND makeControl(HWND parent, const WCHAR* kind, const WCHAR* text, DWORD style, const RECT& place) {
    return CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, place.left, place.top,
                           place.right - place.left, place.bottom - place.top, parent, nullptr, shared.instance,
                           nullptr);
}

void fillNote(HWND window) {
    const RECT title = {kPad, 4, kNoteExtent - 30, kHeader - 4};
    const RECT body = {kPad, kHeader + 4, kNoteExtent - kPad, kNoteExtent - kFooter - kPad};
    const HWND titleEdit = makeControl(window, TEXT("EDIT"), VELLUM_BENCH_TITLE, ES_AUTOHSCROLL, title);
    const HWND bodyEdit =
        makeControl(window, TEXT("RICHEDIT50W"), TEXT(""),
                    WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_NOHIDESEL | ES_WANTRETURN | ES_SAVESEL, body);
    SendMessageW(bodyEdit, EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(kColor));
    SetWindowTextW(bodyEdit, VELLUM_BENCH_BODY);
    SendMessageW(titleEdit, WM_SETFONT, reinterpret_cast<WPARAM>(makeFont(14, 700)), TRUE);
    SendMessageW(bodyEdit, WM_SETFONT, reinterpret_cast<WPARAM>(makeFont(12, 400)), TRUE);
    makeFont(10, 400);  // like the footer of a note
}

void showNote() {
    const POINT place = gridCell(shared.shown++);
    const HWND window =
        CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, VELLUM_FLOOR_CLASS, TEXT(""), WS_POPUP | WS_CLIPCHILDREN,
                        place.x, place.y, kNoteExtent, kNoteExtent, nullptr, nullptr, shared.instance, nullptr);
    fillNote(window);
    ShowWindow(window, SW_SHOWNOACTIVATE);
    UpdateWindow(window);
}

bool isNote(const Text& name) {
    const Text extension = TEXT(".json");
    return name.size() > extension.size() && name.substr(name.size() - extension.size()) == extension;
}

bool isNew(DWORD action) {
    return action == FILE_ACTION_ADDED || action == FILE_ACTION_RENAMED_NEW_NAME;
}

void showNew(const BYTE* records) {
    for (;;) {
        const auto& record = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(records);
        const Text name(record.FileName, record.FileNameLength / sizeof(WCHAR));
        if (isNew(record.Action) && isNote(name)) showNote();
        if (record.NextEntryOffset == 0) return;
        records += record.NextEntryOffset;
    }
}

// False after WM_QUIT.
bool pump() {
    MSG message = {};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) return false;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

int idle() {
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}

int show(int count) {
    while (shared.shown < count)
        showNote();
    return idle();
}

HANDLE openFolder(const WCHAR* folder) {
    return CreateFileW(folder, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr);
}

int watch(const WCHAR* folder) {
    static DWORD buffer[16384];
    const HANDLE directory = openFolder(folder);
    OVERLAPPED overlapped = {};
    overlapped.hEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    shared.shown = kFirstWatched;
    const auto arm = [&] {
        return ReadDirectoryChangesW(directory, buffer, sizeof buffer, FALSE,
                                     FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE, nullptr, &overlapped,
                                     nullptr) != FALSE;
    };
    for (bool armed = arm(); armed && pump();) {
        if (MsgWaitForMultipleObjects(1, &overlapped.hEvent, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) continue;
        DWORD bytes = 0;
        if (GetOverlappedResult(directory, &overlapped, &bytes, FALSE) && bytes > 0)
            showNew(reinterpret_cast<const BYTE*>(buffer));
        armed = arm();
    }
    return 1;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int) {
    int count = 0;
    WCHAR** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (arguments == nullptr || count != 3) return 2;
    shared.instance = instance;
    shared.brush = CreateSolidBrush(kColor);
    LoadLibraryW(TEXT("Msftedit.dll"));
    if (!registerClass()) return 1;
    if (Text(arguments[1]) == TEXT("watch")) return watch(arguments[2]);
    return show(_wtoi(arguments[2]));
}
