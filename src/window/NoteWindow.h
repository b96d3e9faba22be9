// One sticky note on the desktop: a frameless, always-on-top tool window. The App owns one object for each open note.
// Main thread only.
//
// Window and object can each be destroyed before the other. The object gets the window handle in WM_NCCREATE and drops
// it in WM_NCDESTROY; the window procedure finds the object only through the window's GWLP_USERDATA.
//
// NoteWindow.cpp has the window's creation and its messages; NoteEdit.cpp has the two text controls and how an edit is
// reported. What needs no window is in plain functions: Placement, NoteLayout, NotePaint, NoteText, LogoSource.
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
    // Registers the window class, unless it is registered. False with the reason in GetLastError.
    static bool registerClass(HINSTANCE instance);

    // `app` is not owned and may be null. It receives the WM_APP_NOTE_... messages.
    NoteWindow(App* app, NoteRecord note);
    // Does not destroy the window: call close() first to destroy it.
    ~NoteWindow();
    NoteWindow(const NoteWindow&) = delete;
    NoteWindow& operator=(const NoteWindow&) = delete;

    // Creates the window at its place and shows it without activating it. False, with a line in the log, when the
    // window cannot be created. Call once.
    bool create();
    // Destroys the window without a message to the App; a pending edit is dropped.
    void close();
    // Shows a new record of the same note. Place, size, editability and logo change only when the note is next opened.
    // A pending edit is still reported, with the text that the controls hold then.
    void applyNote(NoteRecord note);

    HWND hwnd() const { return hwnd_; }  // null when there is no window
    const NoteRecord& note() const { return note_; }
    // Whether the note has a change that its file lacks. Reads a pending edit into the record first.
    bool hasUnsavedChange();
    // The App reports here whether it saved the record.
    void setSaved(bool saved) { unsaved_ = !saved; }

  private:
    static LRESULT CALLBACK staticWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT windowProc(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT pass(UINT message, WPARAM wParam, LPARAM lParam);  // calls DefWindowProcW
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
    LRESULT onNcHitTest(WPARAM, LPARAM packed);
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
    void moveToFreePlace();

    void createChildren();
    void loadLogo();
    void createTitle();
    void createBody();
    void createBrushes();
    void loadBody();
    void readControls();
    void applyFonts();
    void applyBodyTextColor();
    bool readPendingEdit();
    void reportEdit();
    void notifyApp(UINT message);

    App* app_;
    NoteRecord note_;
    HWND hwnd_ = nullptr;
    HWND titleEdit_ = nullptr;
    HWND bodyEdit_ = nullptr;  // null when the control could not be created: the note then has a title only
    Brush bodyBrush_;
    Brush lightBrush_;  // a lighter shade; nothing paints with it
    Brush titleBrush_;  // created when the title first asks for its colours
    Font titleFont_, bodyFont_, footerFont_;
    Logo logo_;
    std::optional<TitleMetrics> titleMetrics_;  // empty until the title's font is measured
    Place titlePlace_, bodyPlace_;              // where the controls are now
    LONG dpi_ = 0;                              // of the window; set in WM_CREATE
    bool closeHover_ = false;
    bool newHover_ = false;
    bool suppressChange_ = false;  // ignore EN_CHANGE: the program itself changes the text
    bool dirty_ = false;           // an edit is pending: the 800 ms pause is not over
    bool unsaved_ = false;         // the record has a change that was not saved
    bool inSizeMove_ = false;
    RECT sizeMoveStart_ = {};
};
