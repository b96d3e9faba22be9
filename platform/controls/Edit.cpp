// EDIT: one line of plain text.
#include "controls/TextControl.h"
#include "drawing/Surface.h"

namespace platform {
namespace {

constexpr std::size_t kMostTyped = 30000;

class Edit : public TextControl {
  public:
    explicit Edit(Window& window) : TextControl(window, kMostTyped) { content_.append(window.text, {}); }

    // WM_SETFONT resets the margins to values that depend on the font.
    std::optional<LRESULT> answer(UINT message, WPARAM wParam, LPARAM lParam) override {
        const std::optional<LRESULT> result = TextControl::answer(message, wParam, lParam);
        if (message != WM_SETFONT) return result;
        const LONG margin = faceOf(font()).height / 3;
        setMargins(EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELONG(margin, margin));
        return result;
    }

  private:
    void sayChanged() const override {
        tellParent(EN_UPDATE);
        tellParent(EN_CHANGE);
    }
    std::u16string shownText() const override { return content_.text(); }
    std::size_t furthest() const override { return content_.size(); }
    std::u16string typed(char16_t unit) const override {
        return unit < 0x20 || unit == 0x7F ? std::u16string() : std::u16string(1, unit);
    }
};

LRESULT CALLBACK editProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    return runTextControl([](Window& window) -> std::unique_ptr<TextControl> { return std::make_unique<Edit>(window); },
                          handle, message, wParam, lParam);
}

}  // namespace

void registerEdit() {
    registerControlClass(u"EDIT", CS_DBLCLKS, editProcedure);
}

}  // namespace platform
