// The two text controls of a note, and how an edit is reported: a control sends EN_CHANGE, a pause of 800 ms passes,
// the controls are read into the record, and a message goes to the App. Called by the window procedure, on the main
// thread.
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

// A read-only title works like the title bar around it: pressing it drags the window.
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

// The data of EM_STREAMIN: the bytes that the control has not read yet.
struct RtfReader {
    std::string_view bytes;
    std::size_t position = 0;
};

DWORD CALLBACK readRtfCallback(DWORD_PTR cookie, LPBYTE buffer, LONG wanted, LONG* given) {
    auto& reader = *reinterpret_cast<RtfReader*>(cookie);
    const std::size_t count = std::min(static_cast<std::size_t>(wanted), reader.bytes.size() - reader.position);
    std::memcpy(buffer, reader.bytes.data() + reader.position, count);
    reader.position += count;
    *given = static_cast<LONG>(count);
    return 0;
}

DWORD CALLBACK writeRtfCallback(DWORD_PTR cookie, LPBYTE buffer, LONG count, LONG* taken) {
    reinterpret_cast<std::string*>(cookie)->append(reinterpret_cast<const char*>(buffer),
                                                   static_cast<std::size_t>(count));
    *taken = count;
    return 0;
}

// Sets a flag for the length of a scope.
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
    static const HMODULE richEdit = LoadLibraryW(TEXT("Msftedit.dll"));  // never unloaded
    static_cast<void>(richEdit);
    // Created at its final size: otherwise its text would first be wrapped at width 0.
    bodyPlace_ = bodyPlace(metrics(), clientSize());
    bodyEdit_ = makeControl(hwnd_, TEXT("RICHEDIT50W"), TEXT(""),
                            WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_NOHIDESEL | ES_WANTRETURN | ES_SAVESEL,
                            BODY_EDIT_ID, bodyPlace_);
    if (bodyEdit_ == nullptr) return;
    // The default limit cuts rich text at 32,767 characters, and the next save would lose the rest.
    SendMessageW(bodyEdit_, EM_EXLIMITTEXT, 0, kNoLimit);
    SendMessageW(bodyEdit_, EM_SETEVENTMASK, 0, ENM_CHANGE);
    SendMessageW(bodyEdit_, EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(note_.bgColor));
    const FlagScope suppress(suppressChange_);
    loadBody();
}

// Rich text wins over plain text, even if the control cannot parse it.
void NoteWindow::loadBody() {
    if (bodyEdit_ == nullptr) return;
    if (note_.contentRtf.empty()) {
        SetWindowTextW(bodyEdit_, normalizeToCrLf(note_.content).c_str());
        return;
    }
    const std::string bytes = wideToUtf8(note_.contentRtf);
    RtfReader reader{bytes};
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&reader), 0, readRtfCallback};
    SendMessageW(bodyEdit_, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
}

void NoteWindow::readControls() {
    if (titleEdit_ != nullptr) note_.title = textOf(titleEdit_);
    if (bodyEdit_ == nullptr) return;
    note_.content = normalizeToLf(textOf(bodyEdit_));
    std::string bytes;
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&bytes), 0, writeRtfCallback};
    SendMessageW(bodyEdit_, EM_STREAMOUT, SF_RTF, reinterpret_cast<LPARAM>(&stream));
    // The control may append zero bytes that are not part of the text.
    while (!bytes.empty() && bytes.back() == '\0')
        bytes.pop_back();
    note_.contentRtf = utf8ToWide(bytes);
}

// Runs with suppressChange_ because a rich text control reports a new font as a change of its text. Margins are set to
// 0 because an edit control derives them from the font.
void NoteWindow::applyFonts() {
    const FlagScope suppress(suppressChange_);
    for (const auto& [control, font] : {std::pair{titleEdit_, titleFont_.get()}, {bodyEdit_, bodyFont_.get()}}) {
        if (control == nullptr) continue;
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
        SendMessageW(control, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    }
}

// Gives all text one colour, whatever colours the rich text has.
void NoteWindow::applyBodyTextColor() {
    if (bodyEdit_ == nullptr) return;
    const FlagScope suppress(suppressChange_);
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
        const FlagScope suppress(suppressChange_);
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
    SetTimer(hwnd_, DEBOUNCE_TIMER_ID, kDebounceMs, nullptr);  // restarts the pause with every key
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
    readPendingEdit();
    return unsaved_;
}

// Reads a pending edit into the record. False when there is none.
bool NoteWindow::readPendingEdit() {
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
    if (readPendingEdit()) notifyApp(WM_APP_NOTE_CHANGED);
}

// Posts the message; the App handles it when its current work is done. If it cannot be posted, the change stays in the
// record and the next save writes it.
void NoteWindow::notifyApp(UINT message) {
    if (app_ == nullptr || messageWindowOf(*app_) == nullptr) return;
    postText(messageWindowOf(*app_), message, note_.id);
}

// A read-only title sends WM_CTLCOLORSTATIC instead of WM_CTLCOLOREDIT.
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
