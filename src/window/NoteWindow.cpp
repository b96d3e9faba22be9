// The window of a note: class, creation, placement, message table and layout of the controls. Windows calls the window
// procedure on the main thread.
#include "window/NoteWindow.h"

#include "common/Logger.h"
#include "common/Messages.h"
#include "common/Monitors.h"
#include "window/NoteHost.h"
#include "window/NotePaint.h"
#include "window/Placement.h"

namespace {

constexpr const WCHAR* kComponent = TEXT("NoteWindow");
constexpr const WCHAR* kClassName = TEXT("Vellumd.NoteWindow");

// Mouse messages carry the coordinates as two signed 16-bit numbers.
POINT pointOf(LPARAM packed) {
    return {static_cast<short>(LOWORD(packed)), static_cast<short>(HIWORD(packed))};
}

Font makeFont(LONG height, LONG weight, LONG dpi) {
    LOGFONTW description = {};
    description.lfHeight = -scaleToDpi(height, dpi);
    description.lfWeight = weight;
    description.lfCharSet = DEFAULT_CHARSET;
    description.lfQuality = CLEARTYPE_QUALITY;
    const WideView face = TEXT("Segoe UI");
    face.copy(description.lfFaceName, face.size());
    return Font(CreateFontIndirectW(&description));
}

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

// If the window still exists, it gets the default behaviour from now on.
NoteWindow::~NoteWindow() {
    if (hwnd_ != nullptr) SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
}

bool NoteWindow::create() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    if (!registerClass(instance)) return false;
    RECT place = choosePlace();
    if (app_ != nullptr) place = freePlaceFor(*app_, place, nullptr);
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

// A stored place is used if any monitor shows a part of it, even if it is not the monitor that the note names.
RECT NoteWindow::choosePlace() const {
    const RECT stored = rectAt(note_.x, note_.y, note_.width, note_.height);
    if (note_.hasPosition && MonitorFromRect(&stored, MONITOR_DEFAULTTONULL) != nullptr) return stored;
    MonitorInfo anchor;
    if (!findMonitorByDevice(note_.monitorDevice, anchor)) anchor = primaryMonitor();
    if (note_.hasPosition) return centredIn(anchor.workArea, note_.width, note_.height);
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

// Without app_ the window posts no message while it is destroyed.
void NoteWindow::close() {
    if (hwnd_ == nullptr) return;
    app_ = nullptr;
    DestroyWindow(hwnd_);
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

constexpr MessageRow<NoteWindow::Handler> NoteWindow::kHandled[] = {
    {WM_CREATE, &NoteWindow::onCreate},
    {WM_DESTROY, &NoteWindow::onDestroy},
    {WM_MOVE, &NoteWindow::onMove},
    {WM_SIZE, &NoteWindow::onSize},
    {WM_ACTIVATE, &NoteWindow::onActivate},
    {WM_PAINT, &NoteWindow::onPaint},
    {WM_CLOSE, &NoteWindow::onClose},
    {WM_ERASEBKGND, &NoteWindow::onEraseBackground},
    {WM_GETMINMAXINFO, &NoteWindow::onGetMinMaxInfo},
    {WM_WINDOWPOSCHANGING, &NoteWindow::onPosChanging},
    {WM_NCDESTROY, &NoteWindow::onNcDestroy},
    {WM_NCHITTEST, &NoteWindow::onNcHitTest},
    {WM_NCMOUSEMOVE, &NoteWindow::onNcMouseMove},
    {WM_NCMOUSELEAVE, &NoteWindow::onNcMouseLeave},
    {WM_NCLBUTTONDOWN, &NoteWindow::onNcButtonDown},
    {WM_NCLBUTTONUP, &NoteWindow::onNcButtonUp},
    {WM_COMMAND, &NoteWindow::onCommand},
    {WM_TIMER, &NoteWindow::onTimer},
    {WM_CTLCOLOREDIT, &NoteWindow::onControlColor},
    {WM_CTLCOLORSTATIC, &NoteWindow::onControlColor},
    {WM_ENTERSIZEMOVE, &NoteWindow::onEnterSizeMove},
    {WM_EXITSIZEMOVE, &NoteWindow::onExitSizeMove},
    {WM_DPICHANGED, &NoteWindow::onDpiChanged},
    {WM_ENDSESSION, &NoteWindow::onEndSession},
};

LRESULT NoteWindow::windowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    static_assert(areDistinct(kHandled));
    const Handler handler = handlerOf(kHandled, message);
    return handler == nullptr ? pass(message, wParam, lParam) : (this->*handler)(wParam, lParam);
}

LRESULT NoteWindow::pass(UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcW(hwnd_, message, wParam, lParam);
}

LRESULT NoteWindow::onCreate(WPARAM, LPARAM) {
    createChildren();
    return 0;
}

// Reports a pending edit, unless close() destroys the window.
LRESULT NoteWindow::onDestroy(WPARAM, LPARAM) {
    if (dirty_ && app_ != nullptr) reportEdit();
    return 0;
}

LRESULT NoteWindow::onMove(WPARAM, LPARAM) {
    return 0;  // the record gets the new place in onExitSizeMove
}

LRESULT NoteWindow::onSize(WPARAM, LPARAM size) {
    note_.width = LOWORD(size);
    note_.height = HIWORD(size);
    layout();
    invalidate();
    return 0;
}

LRESULT NoteWindow::onActivate(WPARAM how, LPARAM other) {
    if (LOWORD(how) != WA_INACTIVE)
        SetWindowPos(hwnd_, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    return pass(WM_ACTIVATE, how, other);
}

LRESULT NoteWindow::onPaint(WPARAM, LPARAM) {
    PAINTSTRUCT paint = {};
    const HDC target = BeginPaint(hwnd_, &paint);
    const NoteMetrics lengths = metrics();
    paintNote(target, {note_, lengths, clientSize(), logo_, closeHover_, newHover_, footerFont_.get()});
    EndPaint(hwnd_, &paint);
    return 0;
}

// The window stays: the App destroys it when it dismisses the note.
LRESULT NoteWindow::onClose(WPARAM, LPARAM) {
    readControls();
    captureNotePlacement();
    notifyApp(WM_APP_NOTE_DISMISS);
    return 0;
}

LRESULT NoteWindow::onEraseBackground(WPARAM, LPARAM) {
    return 1;  // onPaint paints every pixel
}

LRESULT NoteWindow::onGetMinMaxInfo(WPARAM, LPARAM info) {
    const NoteMetrics lengths = metrics();
    reinterpret_cast<MINMAXINFO*>(info)->ptMinTrackSize = {lengths.minTrackWidth, lengths.minTrackHeight};
    return 0;
}

// Keeps the note topmost when something changes the z-order.
LRESULT NoteWindow::onPosChanging(WPARAM wParam, LPARAM position) {
    auto* const wanted = reinterpret_cast<WINDOWPOS*>(position);
    if ((wanted->flags & SWP_NOZORDER) == 0 && wanted->hwndInsertAfter != HWND_TOPMOST)
        wanted->hwndInsertAfter = HWND_TOPMOST;
    return pass(WM_WINDOWPOSCHANGING, wParam, position);
}

LRESULT NoteWindow::onNcDestroy(WPARAM, LPARAM) {
    SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
    hwnd_ = nullptr;
    titleEdit_ = bodyEdit_ = nullptr;
    return 0;
}

LRESULT NoteWindow::onNcHitTest(WPARAM, LPARAM packed) {
    POINT point = pointOf(packed);
    ScreenToClient(hwnd_, &point);
    return hitTest(metrics(), clientSize(), point, note_.allowNewNote);
}

LRESULT NoteWindow::onNcMouseMove(WPARAM zone, LPARAM) {
    setHover(zone == HTCLOSE, zone == HT_NEW_NOTE);
    return 0;
}

LRESULT NoteWindow::onNcMouseLeave(WPARAM, LPARAM) {
    setHover(false, false);
    return 0;
}

void NoteWindow::setHover(bool close, bool newNote) {
    if (close == closeHover_ && newNote == newHover_) return;
    closeHover_ = close;
    newHover_ = newNote;
    invalidate();
    if (!close && !newNote) return;
    TRACKMOUSEEVENT track = {sizeof track, TME_NONCLIENT | TME_LEAVE, hwnd_, 0};
    TrackMouseEvent(&track);
}

// A press on a button does nothing; the release does.
LRESULT NoteWindow::onNcButtonDown(WPARAM zone, LPARAM point) {
    return zone == HTCLOSE || zone == HT_NEW_NOTE ? 0 : pass(WM_NCLBUTTONDOWN, zone, point);
}

LRESULT NoteWindow::onNcButtonUp(WPARAM zone, LPARAM point) {
    if (zone == HTCLOSE) return onClose(0, 0);
    if (zone != HT_NEW_NOTE) return pass(WM_NCLBUTTONUP, zone, point);
    if (app_ != nullptr) PostMessageW(messageWindowOf(*app_), WM_APP_NOTE_NEW, 0, 0);
    return 0;
}

LRESULT NoteWindow::onEnterSizeMove(WPARAM, LPARAM) {
    inSizeMove_ = true;
    if (hwnd_ != nullptr) GetWindowRect(hwnd_, &sizeMoveStart_);
    return 0;
}

LRESULT NoteWindow::onExitSizeMove(WPARAM, LPARAM) {
    inSizeMove_ = false;
    moveToFreePlace();
    captureNotePlacement();
    unsaved_ = true;
    notifyApp(WM_APP_NOTE_MOVED);
    return 0;
}

// Moves a note that was dropped on another one to a free place beside it. A note that was resized stays where it is.
void NoteWindow::moveToFreePlace() {
    RECT rect = {};
    if (hwnd_ == nullptr || app_ == nullptr || !GetWindowRect(hwnd_, &rect)) return;
    if (widthOf(rect) != widthOf(sizeMoveStart_) || heightOf(rect) != heightOf(sizeMoveStart_)) return;
    const RECT place = freePlaceFor(*app_, rect, this);
    if (place.left == rect.left && place.top == rect.top) return;
    SetWindowPos(hwnd_, nullptr, place.left, place.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

LRESULT NoteWindow::onDpiChanged(WPARAM dpi, LPARAM proposed) {
    dpi_ = dpi > 65535 ? HIWORD(dpi) : kStandardDpi;
    if (const auto* rect = reinterpret_cast<const RECT*>(proposed))
        SetWindowPos(hwnd_, nullptr, rect->left, rect->top, widthOf(*rect), heightOf(*rect),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    rebuildFonts();
    layout();
    invalidate();
    return 0;
}

// The session is ending, and the process may be killed as soon as this returns. So this saves all notes now, not only
// its own. With ENDSESSION_CLOSEAPP an installer is about to replace the program's file and next sends WM_CLOSE, which
// would dismiss every note: closing the message window ends the program before that.
LRESULT NoteWindow::onEndSession(WPARAM isEnding, LPARAM reason) {
    if (isEnding == 0 || app_ == nullptr) return 0;
    saveUnsavedNotes(*app_);
    if ((reason & ENDSESSION_CLOSEAPP) != 0) PostMessageW(messageWindowOf(*app_), WM_CLOSE, 0, 0);
    return 0;
}

Size NoteWindow::clientSize() const {
    RECT client = {};
    GetClientRect(hwnd_, &client);
    return {client.right, client.bottom};
}

void NoteWindow::invalidate() {
    InvalidateRect(hwnd_, nullptr, FALSE);
}

void NoteWindow::rebuildFonts() {
    titleFont_ = makeFont(14, 700, dpi_);
    bodyFont_ = makeFont(12, 400, dpi_);
    footerFont_ = makeFont(10, 400, dpi_);
    titleMetrics_.reset();
    applyFonts();
    applyBodyTextColor();  // WM_SETFONT may reset the colour
}

// Fills `ink` as far as the font can be measured. True if all of it was measured.
bool NoteWindow::measureTitle(TitleMetrics& ink) const {
    if (!titleFont_) return false;
    const WindowDc context(hwnd_);
    const SelectScope font(context.get(), titleFont_.get());
    TEXTMETRICW text = {};
    if (!GetTextMetricsW(context.get(), &text)) return false;
    ink = {text.tmHeight, text.tmInternalLeading, text.tmAscent - text.tmInternalLeading};
    GLYPHMETRICS glyph = {};
    const MAT2 identity = {{0, 1}, {0, 0}, {0, 0}, {0, 1}};
    if (GetGlyphOutlineW(context.get(), TEXT('H'), GGO_METRICS, &glyph, 0, nullptr, &identity) == GDI_ERROR ||
        glyph.gmBlackBoxY == 0)
        return false;
    ink.inkHeight = static_cast<LONG>(glyph.gmBlackBoxY);
    ink.inkTop = text.tmAscent - glyph.gmptGlyphOrigin.y;
    return true;
}

void NoteWindow::layout() {
    if (hwnd_ == nullptr) return;
    const NoteMetrics lengths = metrics();
    const Size client = clientSize();
    TitleMetrics ink = titleMetrics_.value_or(TitleMetrics::unknown(lengths));
    if (!titleMetrics_ && measureTitle(ink)) titleMetrics_ = ink;  // on failure the next layout tries again
    put(titleEdit_, titlePlace_, titlePlace(lengths, client.width, note_.allowNewNote, sizeOf(logo_), ink));
    put(bodyEdit_, bodyPlace_, bodyPlace(lengths, client));
}

void NoteWindow::put(HWND control, Place& current, const Place& place) {
    if (control == nullptr || place == current) return;
    if (SetWindowPos(control, nullptr, place.x, place.y, place.width, place.height, SWP_NOZORDER | SWP_NOACTIVATE))
        current = place;
}
