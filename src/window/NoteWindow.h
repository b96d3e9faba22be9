// One sticky note on the desktop: a frameless, always-on-top tool window. There is one for each open note; the App
// owns the object, and all of it runs on the main thread.
//
// The native window can die without its owner, and the owner without the window: the object learns its handle while
// the window is made, forgets it when the window is gone, and is reached through the window's stored pointer only.
//
// NoteWindow.cpp has the window's life and its messages, NoteEdit.cpp the two controls and the way of an edit. What can
// be said without a window stands in plain functions: Placement, NoteLayout, NotePaint, NoteText, LogoSource.
#pragma once

#include <optional>

#include "common/DrawingHandles.h"
#include "common/MessageTable.h"
#include "notes/NoteRecord.h"
#include "window/Logo.h"
#include "window/NoteLayout.h"

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
    // Shows another content of the same note. Place, size, editability and logo stay as they are until the note is
    // opened again; an edit in flight is reported all the same, with what the controls then hold.
    void applyNote(NoteRecord note);

    HWND hwnd() const { return hwnd_; }  // null when there is no window
    const NoteRecord& note() const { return note_; }
    // Whether the record holds a change that its file lacks. An edit that still waits for its pause is read first.
    bool hasUnsavedChange();
    // How the last attempt to save the record ended.
    void setSaved(bool saved) { unsaved_ = !saved; }

  private:
    static LRESULT CALLBACK staticWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT windowProc(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT pass(UINT message, WPARAM wParam, LPARAM lParam);  // on to the system
    using Handler = LRESULT (NoteWindow::*)(WPARAM wParam, LPARAM lParam);
    static const MessageRow<Handler> kHandled[];
    LRESULT onCreate(WPARAM, LPARAM);
    LRESULT onDestroy(WPARAM, LPARAM);
    LRESULT onMove(WPARAM, LPARAM);
    LRESULT onSize(WPARAM, LPARAM size);
    LRESULT onActivate(WPARAM how, LPARAM other);
    LRESULT onPaint(WPARAM, LPARAM);
    LRESULT onClose(WPARAM, LPARAM);
    LRESULT onEraseBackground(WPARAM, LPARAM);
    LRESULT onGetMinMaxInfo(WPARAM, LPARAM info);
    LRESULT onPosChanging(WPARAM wParam, LPARAM position);
    LRESULT onNcDestroy(WPARAM, LPARAM);
    LRESULT onNcHitTest(WPARAM, LPARAM point);
    LRESULT onNcMouseMove(WPARAM zone, LPARAM);
    LRESULT onNcMouseLeave(WPARAM, LPARAM);
    LRESULT onNcButtonDown(WPARAM zone, LPARAM point);
    LRESULT onNcButtonUp(WPARAM zone, LPARAM point);
    LRESULT onCommand(WPARAM what, LPARAM);
    LRESULT onTimer(WPARAM id, LPARAM lParam);
    LRESULT onControlColor(WPARAM context, LPARAM control);
    LRESULT onEnterSizeMove(WPARAM, LPARAM);
    LRESULT onExitSizeMove(WPARAM, LPARAM);
    LRESULT onEndSession(WPARAM isEnding, LPARAM reason);
    LRESULT onDpiChanged(WPARAM dpi, LPARAM proposed);

    RECT choosePlace() const;
    void captureNotePlacement();
    Size clientSize() const;
    NoteMetrics metrics() const { return NoteMetrics::at(dpi_); }
    void rebuildFonts();
    void layout();
    bool measureTitle(TitleMetrics& ink) const;
    static void put(HWND control, Place& current, const Place& place);
    void invalidate();
    void setHover(bool close, bool newNote);
    void slideOffOthers();

    void createChildren();
    void loadLogo();
    void createTitle();
    void createBody();
    void createBrushes();
    void loadBody();
    void readControls();
    void giveFonts();
    void applyBodyTextColor();
    bool takeEdit();
    void reportEdit();
    void notifyApp(UINT message);

    App* app_;
    NoteRecord note_;
    HWND hwnd_ = nullptr;
    HWND titleEdit_ = nullptr;
    HWND bodyEdit_ = nullptr;  // null when the control could not be made: then the note has a title only
    Brush bodyBrush_;
    Brush lightBrush_;  // a shade that no paint path uses
    Brush titleBrush_;  // made when the title first asks for its colours
    Font titleFont_, bodyFont_, footerFont_;
    Logo logo_;
    std::optional<TitleMetrics> titleMetrics_;  // of the title's font, once it is measured
    Place titlePlace_, bodyPlace_;              // where the controls are
    LONG dpi_ = 0;                              // of the window; known from WM_CREATE on
    bool closeHover_ = false;
    bool newHover_ = false;
    bool suppressChange_ = false;  // what the controls report is our own doing
    bool dirty_ = false;           // an edit that waits for its pause
    bool unsaved_ = false;         // a change of the record that no save has written
    bool inSizeMove_ = false;
    RECT sizeMoveStart_ = {};
};
