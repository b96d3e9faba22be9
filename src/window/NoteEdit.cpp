// The two controls of a note, and the way of an edit: a control reports a change, a pause of 800 ms passes, the
// controls are read into the record, the App is told.
#include "window/NoteWindow.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "common/Messages.h"
#include "common/Monitors.h"
#include "notes/Text.h"
#include "window/NoteHost.h"
#include "window/NotePaint.h"
#include "window/NoteText.h"

namespace {

constexpr UINT_PTR DEBOUNCE_TIMER_ID = 1;
constexpr UINT kDebounceMs = 800;
constexpr UINT_PTR TITLE_EDIT_ID = 1001;
constexpr UINT_PTR BODY_EDIT_ID = 1002;
constexpr UINT_PTR kTitleSubclass = 1;
constexpr LPARAM kNoLimit = 0x7FFFFFFE;

HWND makeControl(HWND parent, const WCHAR* kind, const WCHAR* text, DWORD style, UINT_PTR id, const Place& place) {
    return CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, place.x, place.y, place.width, place.height,
                           parent, reinterpret_cast<HMENU>(id), GetModuleHandleW(nullptr), nullptr);
}

WideString textOf(HWND control) {
    const int units = GetWindowTextLengthW(control);
    WideString text(static_cast<std::size_t>(std::max(units, 0)), 0);
    const int got = GetWindowTextW(control, text.data(), units + 1);
    text.resize(static_cast<std::size_t>(std::max(got, 0)));
    return text;
}

bool isReadOnly(HWND edit) {
    return (GetWindowLongW(edit, GWL_STYLE) & ES_READONLY) != 0;
}

// A title that cannot be edited is part of the handle that drags the window.
LRESULT CALLBACK titleEditSubclassProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR) {
    if (message == WM_NCDESTROY) RemoveWindowSubclass(edit, titleEditSubclassProc, id);
    const bool isPress = message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK;
    if (message == WM_SETCURSOR && isReadOnly(edit)) {
        SetCursor(LoadCursorW(nullptr, IDC_ARROW));
        return 1;
    }
    const HWND parent = isPress && isReadOnly(edit) ? GetParent(edit) : nullptr;
    if (parent == nullptr) return DefSubclassProc(edit, message, wParam, lParam);
    ReleaseCapture();
    SendMessageW(parent, WM_NCLBUTTONDOWN, HTCAPTION, 0);
    return 0;
}

// Rich text on its way into the control and out of it.
struct RtfReader {
    std::string_view bytes;
    std::size_t position = 0;
};

DWORD CALLBACK giveRtf(DWORD_PTR cookie, LPBYTE buffer, LONG wanted, LONG* given) {
    auto& reader = *reinterpret_cast<RtfReader*>(cookie);
    const std::size_t count = std::min(static_cast<std::size_t>(wanted), reader.bytes.size() - reader.position);
    std::memcpy(buffer, reader.bytes.data() + reader.position, count);
    reader.position += count;
    *given = static_cast<LONG>(count);
    return 0;
}

DWORD CALLBACK takeRtf(DWORD_PTR cookie, LPBYTE buffer, LONG count, LONG* taken) {
    reinterpret_cast<std::string*>(cookie)->append(reinterpret_cast<const char*>(buffer),
                                                   static_cast<std::size_t>(count));
    *taken = count;
    return 0;
}

// Holds the mark for as long as the program itself puts something into the controls.
class FlagScope {
  public:
    explicit FlagScope(bool& mark) : mark_(mark) { mark_ = true; }
    ~FlagScope() { mark_ = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

  private:
    bool& mark_;
};

}  // namespace

void NoteWindow::createChildren() {
    dpi_ = windowDpi(hwnd_);
    createBrushes();
    createTitle();
    createBody();
    for (const HWND control : {titleEdit_, bodyEdit_})
        if (control != nullptr && !note_.editable) SendMessageW(control, EM_SETREADONLY, TRUE, 0);
    loadLogo();
    rebuildFonts();
    layout();
}

void NoteWindow::loadLogo() {
    logo_.reset();
    if (app_ != nullptr) logo_ = loadLogoImage(logoFolderOf(*app_), note_.logo, note_.id);
}

void NoteWindow::createBrushes() {
    bodyBrush_.reset(CreateSolidBrush(note_.bgColor));
    lightBrush_.reset(CreateSolidBrush(lightened(note_.bgColor, 14)));
    titleBrush_.reset();
}

void NoteWindow::createTitle() {
    titleEdit_ = makeControl(hwnd_, TEXT("EDIT"), note_.title.c_str(), ES_AUTOHSCROLL, TITLE_EDIT_ID, {});
    if (titleEdit_ != nullptr) SetWindowSubclass(titleEdit_, titleEditSubclassProc, kTitleSubclass, 0);
}

void NoteWindow::createBody() {
    static const HMODULE richEdit = LoadLibraryW(TEXT("Msftedit.dll"));  // stays for the life of the process
    static_cast<void>(richEdit);
    bodyPlace_ = bodyPlace(metrics(), clientSize());  // from the start, or the text would be wrapped at no width first
    bodyEdit_ = makeControl(hwnd_, TEXT("RICHEDIT50W"), TEXT(""),
                            WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_NOHIDESEL | ES_WANTRETURN | ES_SAVESEL,
                            BODY_EDIT_ID, bodyPlace_);
    if (bodyEdit_ == nullptr) return;
    // Without a limit of our own the control cuts rich text at 32,767 characters, and the next save would lose the
    // rest.
    SendMessageW(bodyEdit_, EM_EXLIMITTEXT, 0, kNoLimit);
    SendMessageW(bodyEdit_, EM_SETEVENTMASK, 0, ENM_CHANGE);
    SendMessageW(bodyEdit_, EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(note_.bgColor));
    const FlagScope ownDoing(suppressChange_);
    loadBody();
}

// Rich text wins over plain text, even if it cannot be read.
void NoteWindow::loadBody() {
    if (bodyEdit_ == nullptr) return;
    if (note_.contentRtf.empty()) {
        SetWindowTextW(bodyEdit_, normalizeToCrLf(note_.content).c_str());
        return;
    }
    const std::string bytes = wideToUtf8(note_.contentRtf);
    RtfReader reader{bytes};
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&reader), 0, giveRtf};
    SendMessageW(bodyEdit_, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
}

void NoteWindow::readControls() {
    if (titleEdit_ != nullptr) note_.title = textOf(titleEdit_);
    if (bodyEdit_ == nullptr) return;
    note_.content = normalizeToLf(textOf(bodyEdit_));
    std::string bytes;
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&bytes), 0, takeRtf};
    SendMessageW(bodyEdit_, EM_STREAMOUT, SF_RTF, reinterpret_cast<LPARAM>(&stream));
    // The control may end its text with a zero, which is no part of it.
    while (!bytes.empty() && bytes.back() == '\0')
        bytes.pop_back();
    note_.contentRtf = utf8ToWide(bytes);
}

// Rich text takes a font as a change of its text, and an edit control sets margins that go with the font: the text is
// to start at the control's edge all the same.
void NoteWindow::giveFonts() {
    const FlagScope ownDoing(suppressChange_);
    for (const auto& [control, font] : {std::pair{titleEdit_, titleFont_.get()}, {bodyEdit_, bodyFont_.get()}}) {
        if (control == nullptr) continue;
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
        SendMessageW(control, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    }
}

// All text of a note has one colour, whatever its rich text says.
void NoteWindow::applyBodyTextColor() {
    if (bodyEdit_ == nullptr) return;
    const FlagScope ownDoing(suppressChange_);
    CHARFORMAT2W format = {};
    format.cbSize = sizeof format;
    format.dwMask = CFM_COLOR;
    format.crTextColor = note_.noteBodyColor;
    const LPARAM color = reinterpret_cast<LPARAM>(&format);
    SendMessageW(bodyEdit_, EM_SETCHARFORMAT, SCF_DEFAULT, color);
    CHARRANGE selected = {}, all = {0, -1};
    SendMessageW(bodyEdit_, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&selected));
    SendMessageW(bodyEdit_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&all));
    SendMessageW(bodyEdit_, EM_SETCHARFORMAT, SCF_SELECTION, color);
    SendMessageW(bodyEdit_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&selected));
}

void NoteWindow::applyNote(NoteRecord note) {
    note_ = std::move(note);
    unsaved_ = false;
    {
        const FlagScope ownDoing(suppressChange_);
        if (titleEdit_ != nullptr) SetWindowTextW(titleEdit_, note_.title.c_str());
        loadBody();
        createBrushes();
        if (bodyEdit_ != nullptr) SendMessageW(bodyEdit_, EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(note_.bgColor));
    }
    applyBodyTextColor();
    if (hwnd_ != nullptr) invalidate();
}

LRESULT NoteWindow::onCommand(WPARAM what, LPARAM) {
    if (HIWORD(what) != EN_CHANGE || suppressChange_ || !note_.editable) return 0;
    dirty_ = true;
    SetTimer(hwnd_, DEBOUNCE_TIMER_ID, kDebounceMs, nullptr);  // anew: the last of a run of keys counts
    return 0;
}

LRESULT NoteWindow::onTimer(WPARAM id, LPARAM lParam) {
    if (id != DEBOUNCE_TIMER_ID) return pass(WM_TIMER, id, lParam);
    if (dirty_)
        reportEdit();
    else
        KillTimer(hwnd_, DEBOUNCE_TIMER_ID);
    return 0;
}

bool NoteWindow::hasUnsavedChange() {
    takeEdit();
    return unsaved_;
}

// Reads an edit that waits for its pause into the record. False when none waits.
bool NoteWindow::takeEdit() {
    if (!dirty_) return false;
    KillTimer(hwnd_, DEBOUNCE_TIMER_ID);
    readControls();
    captureNotePlacement();
    GetSystemTime(&note_.modified);
    dirty_ = false;
    unsaved_ = true;
    return true;
}

void NoteWindow::reportEdit() {
    if (takeEdit() && app_ != nullptr) notifyApp(WM_APP_NOTE_CHANGED);
}

// Posted, never sent: the App may be in the middle of its own work. When it cannot be posted the change stays in the
// record and goes out with the next save.
void NoteWindow::notifyApp(UINT message) {
    if (app_ == nullptr || messageWindowOf(*app_) == nullptr) return;
    postText(messageWindowOf(*app_), message, note_.id);
}

// A read-only title asks for the colours of a static control.
LRESULT NoteWindow::onControlColor(WPARAM context, LPARAM control) {
    const HDC target = reinterpret_cast<HDC>(context);
    const bool isTitle = reinterpret_cast<HWND>(control) == titleEdit_;
    const COLORREF background = isTitle ? titleBarColor(note_) : note_.bgColor;
    SetBkColor(target, background);
    SetTextColor(target, isTitle ? note_.noteTitleColor : note_.noteBodyColor);
    SetBkMode(target, OPAQUE);
    if (isTitle && !titleBrush_) titleBrush_.reset(CreateSolidBrush(background));
    return reinterpret_cast<LRESULT>((isTitle ? titleBrush_ : bodyBrush_).get());
}
