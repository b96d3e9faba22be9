// What both text controls share: typing, selection, colours, margins, notifications to the parent. Edit.cpp and
// RichEdit.cpp build on it. Runs on the thread of the window.
#include "controls/TextControl.h"

#include <algorithm>

namespace platform {
namespace {

constexpr char16_t kSelectAll = 1;  // the character that the keyboard sends for Ctrl+A
constexpr char16_t kBackspace = 8;

bool isPair(std::u16string_view text, std::size_t first) {
    return first + 1 < text.size() && (text[first] & 0xFC00) == 0xD800 && (text[first + 1] & 0xFC00) == 0xDC00;
}

}  // namespace

const TextControl* textControlOf(const Window& window) {
    return dynamic_cast<const TextControl*>(window.control.get());
}

LRESULT runTextControl(std::unique_ptr<TextControl> (*make)(Window& window), HWND handle, UINT message, WPARAM wParam,
                       LPARAM lParam) {
    const std::shared_ptr<Window> window = findWindow(handle);  // keeps the window alive until the message is handled
    if (window == nullptr) return 0;
    if (message == WM_NCCREATE && window->control == nullptr) {
        const LRESULT result = DefWindowProcW(handle, message, wParam, lParam);
        window->control = make(*window);
        return result;
    }
    const auto control = static_cast<TextControl*>(window->control.get());
    const std::optional<LRESULT> result = control == nullptr ? std::nullopt : control->answer(message, wParam, lParam);
    return result ? *result : DefWindowProcW(handle, message, wParam, lParam);
}

std::optional<LRESULT> TextControl::answer(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_SETTEXT:
            setText(lParam == 0 ? u"" : reinterpret_cast<LPCWSTR>(lParam));
            return TRUE;
        case WM_SETFONT:
            font_ = reinterpret_cast<HFONT>(wParam);
            refresh();
            return 0;
        case WM_CHAR:
            type(static_cast<char16_t>(wParam));
            return 0;
        case WM_KEYDOWN:
            if (wParam == VK_DELETE) eraseBehind();
            return 0;
        case WM_LBUTTONDOWN:
            focusWindow(window_.handle);
            return 0;
        case WM_SETFOCUS:
            tellParent(EN_SETFOCUS);
            return 0;
        case WM_KILLFOCUS:
            tellParent(EN_KILLFOCUS);
            return 0;
        case EM_SETREADONLY:
            window_.style = wParam != 0 ? window_.style | ES_READONLY : window_.style & ~DWORD{ES_READONLY};
            refresh();
            return TRUE;
        case EM_SETMARGINS:
            setMargins(wParam, lParam);
            return 0;
        case EM_GETMARGINS:
            return MAKELONG(leftMargin_, rightMargin_);
        case EM_SETSEL:
            select(static_cast<LONG>(wParam), static_cast<LONG>(lParam));
            return 0;
        case EM_GETSEL:
            return readSelection(reinterpret_cast<DWORD*>(wParam), reinterpret_cast<DWORD*>(lParam));
        default:
            return {};
    }
}

// The window may be destroyed when this returns.
void TextControl::tellParent(WORD code) const {
    if (window_.parent == nullptr || findWindow(window_.handle) == nullptr) return;
    SendMessageW(window_.parent, WM_COMMAND, MAKEWPARAM(window_.id, code), reinterpret_cast<LPARAM>(window_.handle));
}

void TextControl::refresh() {
    window_.invalid = true;
}

void TextControl::load(RichText content) {
    content_ = std::move(content);
    first_ = last_ = 0;
    window_.text = shownText();
    refresh();
    sayChanged();
}

void TextControl::setText(std::u16string_view text) {
    RichText content;
    content.append(text, {});
    load(std::move(content));
}

// A negative `first` clears the selection. A negative `last`, or one beyond the text, selects up to the end.
void TextControl::select(LONG first, LONG last) {
    const LONG length = static_cast<LONG>(content_.size()), end = static_cast<LONG>(furthest());
    if (first < 0) first = last = std::min(static_cast<LONG>(last_), length);
    if (last < 0) last = end;
    if (first > last) std::swap(first, last);
    first_ = static_cast<std::size_t>(std::min(first, length));
    last_ = static_cast<std::size_t>(first > length ? length : std::min(last, end));
    refresh();
}

LRESULT TextControl::readSelection(DWORD* first, DWORD* last) const {
    if (first != nullptr) *first = static_cast<DWORD>(first_);
    if (last != nullptr) *last = static_cast<DWORD>(last_);
    return last_ > 0xFFFF ? -1 : MAKELONG(first_, last_);
}

void TextControl::setMargins(WPARAM which, LPARAM both) {
    if ((which & EC_LEFTMARGIN) != 0) leftMargin_ = LOWORD(both);
    if ((which & EC_RIGHTMARGIN) != 0) rightMargin_ = HIWORD(both);
    refresh();
}

void TextControl::type(char16_t unit) {
    if (unit == kSelectAll) return select(0, -1);
    if (unit == kBackspace) return eraseBefore();
    const std::u16string text = typed(unit);
    if (text.empty() || isReadOnly()) return;
    const std::size_t last = std::min(last_, content_.size());
    if (content_.size() - (last - first_) + text.size() > mostTyped_) return tellParent(EN_MAXTEXT);
    replace(first_, last, text);
}

void TextControl::eraseBefore() {
    const std::size_t last = std::min(last_, content_.size());
    if (first_ < last) return replace(first_, last, {});
    if (first_ == 0) return;
    const bool isTwo = first_ >= 2 && isPair(content_.text(), first_ - 2);
    replace(first_ - (isTwo ? 2 : 1), first_, {});
}

void TextControl::eraseBehind() {
    const std::size_t last = std::min(last_, content_.size());
    if (first_ < last) return replace(first_, last, {});
    if (first_ == content_.size()) return;
    replace(first_, first_ + (isPair(content_.text(), first_) ? 2 : 1), {});
}

// Edits on behalf of the user. A program can change the text even if the control is read-only.
void TextControl::replace(std::size_t first, std::size_t last, std::u16string_view text) {
    if (isReadOnly()) return;
    content_.replace(first, last, text, formatForTyping());
    first_ = last_ = first + text.size();
    window_.text = shownText();
    refresh();
    sayChanged();
}

// The format of the first selected character. Without a selection, that of the character before the caret in the same
// paragraph.
TextFormat TextControl::formatForTyping() const {
    const std::size_t size = content_.size();
    if (size == 0) return {};
    const bool isAtStart = first_ == 0 || content_.text()[first_ - 1] == kParagraphEnd;
    const std::size_t like =
        first_ < size && (isAtStart || last_ > first_) ? first_ : std::max<std::size_t>(first_, 1) - 1;
    return content_.formatAt(std::min(like, size - 1));
}

}  // namespace platform
