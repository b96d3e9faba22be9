// The text controls: EDIT, which holds one line, and RICHEDIT50W, which holds formatted paragraphs. Each is a window
// procedure on a TextControl that the window owns. All of it runs on the window's thread.
//
// The public part is what the painting code and the tests read. Window::text holds the text as WM_GETTEXT returns it.
#pragma once

#include <windows.h>

#include <optional>
#include <string_view>

#include "controls/RichText.h"
#include "windows/Window.h"

namespace platform {

class TextControl : public ControlState {
  public:
    // Paragraphs are separated by kParagraphEnd, lines inside a paragraph by kLineEnd. The last paragraph has no end
    // mark.
    const RichText& content() const { return content_; }
    bool isReadOnly() const { return (window_.style & ES_READONLY) != 0; }
    HFONT font() const { return font_; }  // null until WM_SETFONT: the system's font
    // A rich edit control paints with these colours. An EDIT gets its colours from the parent when it is painted.
    COLORREF background() const { return background_; }
    COLORREF colorOf(const TextFormat& format) const { return format.color.value_or(defaultColor_); }

    // Handles a message. Returns nullopt if DefWindowProcW must handle it.
    virtual std::optional<LRESULT> answer(UINT message, WPARAM wParam, LPARAM lParam);

  protected:
    TextControl(Window& window, std::size_t mostTyped) : window_(window), mostTyped_(mostTyped) {}

    // Tells the parent that the content has changed.
    virtual void sayChanged() const = 0;
    // The content as WM_GETTEXT returns it.
    virtual std::u16string shownText() const = 0;
    // The end position of "select all".
    virtual std::size_t furthest() const = 0;
    // The text to insert when this character is typed; empty if it cannot be typed.
    virtual std::u16string typed(char16_t unit) const = 0;

    void tellParent(WORD code) const;
    // Replaces the whole content, puts the caret at the start, and notifies the parent.
    void load(RichText content);
    void setText(std::u16string_view text);
    void select(LONG first, LONG last);
    // Sets the margins that `which` (EC_LEFTMARGIN, EC_RIGHTMARGIN) names. The low word of `both` is the left one.
    void setMargins(WPARAM which, LPARAM both);
    void limit(std::size_t units) { mostTyped_ = units; }
    std::size_t limit() const { return mostTyped_; }
    void refresh();

    Window& window_;
    RichText content_;
    // The selection is [first, last) and the caret is at last. A rich edit control also counts the mark of its last
    // paragraph, so there last can be content size + 1.
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

    std::size_t mostTyped_;  // typing cannot make the text longer than this
    HFONT font_ = nullptr;
    WORD leftMargin_ = 0, rightMargin_ = 0;
};

// The text control of a window; null if the window is something else.
const TextControl* textControlOf(const Window& window);

// The window procedure of a text control. `make` creates the control when the window is created.
LRESULT runTextControl(std::unique_ptr<TextControl> (*make)(Window& window), HWND handle, UINT message, WPARAM wParam,
                       LPARAM lParam);
// Registers EDIT, which needs no library.
void registerEdit();
// Registers RICHEDIT50W. Runs when the program loads its library.
void registerRichEdit();

}  // namespace platform
