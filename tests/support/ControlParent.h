// A parent window for text controls that records their notifications, and functions that act on the controls.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <richedit.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "support/Text.h"

class ControlParent {
  public:
    static constexpr WORD kId = 1001;
    static constexpr DWORD kRichStyle =
        WS_CHILD | WS_VISIBLE | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_NOHIDESEL | ES_WANTRETURN | ES_SAVESEL;

    ControlParent() {
        WNDCLASSEXW description = {};
        description.cbSize = sizeof description;
        description.lpfnWndProc = procedure;
        description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        description.lpszClassName = TEXT("VellumTestControlParent");
        RegisterClassExW(&description);
        handle_ = CreateWindowExW(WS_EX_TOOLWINDOW, description.lpszClassName, nullptr, WS_POPUP | WS_VISIBLE, 10, 10,
                                  300, 200, nullptr, nullptr, nullptr, nullptr);
        SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~ControlParent() {
        SetWindowLongPtrW(handle_, GWLP_USERDATA, 0);
        DestroyWindow(handle_);
    }
    ControlParent(const ControlParent&) = delete;
    ControlParent& operator=(const ControlParent&) = delete;

    HWND handle() const { return handle_; }
    HWND makeEdit(const WCHAR* text) { return make(TEXT("EDIT"), text, WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL); }
    // Creates a rich edit control with EN_CHANGE enabled.
    HWND makeRichEdit() {
        LoadLibraryW(TEXT("Msftedit.dll"));
        const HWND control = make(TEXT("RICHEDIT50W"), TEXT(""), kRichStyle);
        SendMessageW(control, EM_SETEVENTMASK, 0, ENM_CHANGE);
        return control;
    }
    HWND make(const WCHAR* className, const WCHAR* text, DWORD style) {
        const HWND control = CreateWindowExW(0, className, text, style, 0, 0, 200, 100, handle_,
                                             reinterpret_cast<HMENU>(ULONG_PTR{kId}), nullptr, nullptr);
        take();
        return control;
    }
    // The WM_COMMAND codes since the last call, in hexadecimal, such as "400 300".
    std::string take() { return std::exchange(told_, {}); }
    // The number of EN_CHANGE codes among them.
    int takeChanges() {
        const std::string told = take();
        return static_cast<int>(std::count(told.begin(), told.end(), '3'));  // no other code contains a 3
    }

  private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        const auto self = reinterpret_cast<ControlParent*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message != WM_COMMAND || self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
        char code[8];
        std::snprintf(code, sizeof code, "%x", HIWORD(wParam));
        self->told_ += (self->told_.empty() ? "" : " ") + std::string(code);
        EXPECT_EQ(LOWORD(wParam), kId);
        EXPECT_EQ(GetParent(reinterpret_cast<HWND>(lParam)), window);
        return 0;
    }

    HWND handle_ = nullptr;
    std::string told_;
};

// The text as WM_GETTEXT returns it.
inline std::string textOf(HWND control) {
    WideString text(static_cast<std::size_t>(GetWindowTextLengthW(control)), u'\0');
    const int units = GetWindowTextW(control, text.data(), static_cast<int>(text.size()) + 1);
    EXPECT_EQ(static_cast<std::size_t>(units), text.size());
    return utf8(text);
}

// Sends what a key press sends: WM_KEYDOWN, and WM_CHAR if the key has a character.
inline void press(HWND control, WPARAM key, WCHAR character = 0) {
    SendMessageW(control, WM_KEYDOWN, key, 0);
    if (character != 0) SendMessageW(control, WM_CHAR, character, 0);
}
inline void typeText(HWND control, WideView text) {
    for (const WCHAR unit : text)
        SendMessageW(control, WM_CHAR, unit, 0);
}
inline void pressBackspace(HWND control) {
    press(control, 8, 8);
}
inline void pressReturn(HWND control) {
    press(control, 13, 13);
}

inline std::string selectionOf(HWND control) {
    DWORD first = 99, last = 99;
    SendMessageW(control, EM_GETSEL, reinterpret_cast<WPARAM>(&first), reinterpret_cast<LPARAM>(&last));
    return std::to_string(first) + "-" + std::to_string(last);
}

// Streams bytes in or out. `most` limits the bytes per call; call number `refusedCall` fails.
struct Stream {
    std::string bytes;
    std::size_t most = 1000000;
    int refusedCall = 0;  // starts at 1; 0: none
    int calls = 0;
    DWORD error = 0;
    LRESULT result = 0;

    static constexpr DWORD kRefusal = 77;

    void into(HWND control) { pass(control, EM_STREAMIN, read); }
    void outOf(HWND control) { pass(control, EM_STREAMOUT, write); }

  private:
    void pass(HWND control, UINT message, EDITSTREAMCALLBACK callback) {
        EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(this), 123, callback};
        result = SendMessageW(control, message, SF_RTF, reinterpret_cast<LPARAM>(&stream));
        error = stream.dwError;
    }
    static DWORD CALLBACK read(DWORD_PTR cookie, LPBYTE buffer, LONG capacity, LONG* moved) {
        Stream& self = *reinterpret_cast<Stream*>(cookie);
        *moved = 0;
        if (++self.calls == self.refusedCall) return kRefusal;
        const std::size_t count = std::min({self.bytes.size(), static_cast<std::size_t>(capacity), self.most});
        std::memcpy(buffer, self.bytes.data(), count);
        self.bytes.erase(0, count);
        *moved = static_cast<LONG>(count);
        return 0;
    }
    static DWORD CALLBACK write(DWORD_PTR cookie, LPBYTE buffer, LONG count, LONG* moved) {
        Stream& self = *reinterpret_cast<Stream*>(cookie);
        *moved = 0;
        if (++self.calls == self.refusedCall) return kRefusal;
        const std::size_t taken = std::min(static_cast<std::size_t>(count), self.most);
        self.bytes.append(reinterpret_cast<const char*>(buffer), taken);
        *moved = static_cast<LONG>(taken);
        return 0;
    }
};

inline DWORD streamIn(HWND control, const std::string& rtf) {
    Stream stream{rtf};
    stream.into(control);
    return stream.error;
}
inline std::string streamOut(HWND control) {
    Stream stream;
    stream.outOf(control);
    EXPECT_EQ(stream.error, 0U);
    EXPECT_EQ(static_cast<std::size_t>(stream.result), stream.bytes.size());
    return stream.bytes;
}
