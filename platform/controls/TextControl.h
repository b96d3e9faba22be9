// The text controls: EDIT, which holds one line, and RICHEDIT50W, which holds paragraphs with formats. Each is a window
// procedure on a TextControl, which the window owns; all of it lives on the window's thread.
//
// What stands here is what a painter and a test see of a control. Window::text is its text as WM_GETTEXT gives it.
#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

#include "controls/RichText.h"
#include "windows/Window.h"

namespace platform {

class TextControl : public ControlState {
  public:
    // Paragraphs end in kParagraphEnd, lines inside one in kLineEnd; there is none behind the last paragraph.
    const RichText& content() const { return content_; }
    bool isReadOnly() const { return (window_.style & ES_READONLY) != 0; }
    HFONT font() const { return font_; }  // null until WM_SETFONT: the system's font
    // A rich edit control paints these itself; for EDIT its parent chooses colours when it is painted.
    COLORREF background() const { return background_; }
    COLORREF colorOf(const TextFormat& format) const { return format.color.value_or(defaultColor_); }

    // What the control does with a message; none for what it leaves to DefWindowProcW.
    virtual std::optional<LRESULT> answer(UINT message, WPARAM wParam, LPARAM lParam);

  protected:
    TextControl(Window& window, std::size_t mostTyped) : window_(window), mostTyped_(mostTyped) {}

    // Tells the parent that the content is another.
    virtual void sayChanged() const = 0;
    // The content as WM_GETTEXT gives it.
    virtual std::u16string shownText() const = 0;
    // How far a selection of everything reaches.
    virtual std::size_t furthest() const = 0;
    // What this character puts into the text when it is typed; empty for what cannot be typed.
    virtual std::u16string typed(char16_t unit) const = 0;

    void tellParent(WORD code) const;
    // Puts a new content in place of the whole, the caret before it, and says so.
    void load(RichText content);
    void setText(std::u16string_view text);
    void select(LONG first, LONG last);
    // Of EC_LEFTMARGIN and EC_RIGHTMARGIN; `both` has the left one in its low word.
    void setMargins(WPARAM which, LPARAM both);
    void limit(std::size_t units) { mostTyped_ = units; }
    std::size_t limit() const { return mostTyped_; }
    void refresh();

    Window& window_;
    RichText content_;
    // The selected units, from first up to last; the caret stands at last. A rich edit control counts an end behind its
    // last paragraph: there, last can be one above the size of the content.
    std::size_t first_ = 0, last_ = 0;
    COLORREF background_ = 0xFFFFFF;
    COLORREF defaultColor_ = 0;

  private:
    LRESULT readSelection(DWORD* first, DWORD* last) const;
    void type(char16_t unit);
    void eraseBefore();
    void eraseBehind();
    void replace(std::size_t first, std::size_t last, std::u16string_view text);
    TextFormat formatForTyping() const;

    std::size_t mostTyped_;  // typing makes the text no longer than this
    HFONT font_ = nullptr;
    WORD leftMargin_ = 0, rightMargin_ = 0;
};

// The text control that a window is; null for other windows.
const TextControl* textControlOf(const Window& window);

// A procedure of windows whose control `make` makes.
LRESULT runTextControl(std::unique_ptr<TextControl> (*make)(Window& window), HWND handle, UINT message, WPARAM wParam,
                       LPARAM lParam);
// Registers EDIT, which is there from the start.
void registerEdit();
// Registers RICHEDIT50W: what loading its library does.
void registerRichEdit();

}  // namespace platform
