// One sticky note on the desktop: a frameless, always-on-top tool window. There is one for each open note; the App
// owns the object, and all of it runs on the main thread.
//
// The native window can die without its owner, and the owner without the window: the object learns its handle while
// the window is made, forgets it when the window is gone, and is reached through the window's stored pointer only.
#pragma once

#include "notes/NoteRecord.h"

class App;

class NoteWindow {
  public:
    // True when the window class exists; false with the reason in GetLastError.
    static bool registerClass(HINSTANCE instance);

    // `app`, which may be null and is not owned, is told what the user does.
    NoteWindow(App* app, NoteRecord note);
    // Leaves the native window alone; close() comes first where it is to go.
    ~NoteWindow();
    NoteWindow(const NoteWindow&) = delete;
    NoteWindow& operator=(const NoteWindow&) = delete;

    // Makes the window at its place and shows it without activating it. False when it could not be made, with a line in
    // the log. To be called once.
    bool create();
    // Destroys the window. It reports nothing any more, an edit in flight is dropped.
    void close();
    // Shows another content of the same note. Place and size of the window stay.
    void applyNote(NoteRecord note);

    HWND hwnd() const { return hwnd_; }  // null when there is no window
    const NoteRecord& note() const { return note_; }

  private:
    static LRESULT CALLBACK staticWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT windowProc(UINT message, WPARAM wParam, LPARAM lParam);
    using Handler = LRESULT (NoteWindow::*)(WPARAM wParam, LPARAM lParam);
    struct Handled {
        UINT message;
        Handler handler;
    };
    static const Handled kHandled[];
    LRESULT onMove(WPARAM, LPARAM);
    LRESULT onSize(WPARAM, LPARAM size);
    LRESULT onActivate(WPARAM how, LPARAM other);
    LRESULT onPosChanging(WPARAM wParam, LPARAM position);
    LRESULT onNcDestroy(WPARAM, LPARAM);

    RECT choosePlace() const;
    void captureNotePlacement();

    App* app_;
    NoteRecord note_;
    HWND hwnd_ = nullptr;
};
