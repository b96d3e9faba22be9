// RICHEDIT50W: paragraphs of formatted text, read and written as RTF.
#include <richedit.h>

#include <algorithm>
#include <utility>

#include "controls/Rtf.h"
#include "controls/TextControl.h"

namespace platform {
namespace {

constexpr std::size_t kMostTyped = 32767, kDefaultLimit = 65536;
constexpr LONG kStreamBytes = 4096;  // the most bytes that one call of a stream callback transfers

// Calls the stream callback for more bytes when its buffer is empty, until the data ends or the callback fails.
class IncomingBytes {
  public:
    explicit IncomingBytes(EDITSTREAM& stream) : stream_(stream) {}

    int next() {
        if (at_ == filled_ && !ended_) fill();
        return at_ == filled_ ? -1 : buffer_[at_++];
    }

  private:
    void fill() {
        LONG moved = 0;
        stream_.dwError = stream_.pfnCallback(stream_.dwCookie, buffer_, kStreamBytes, &moved);
        ended_ = stream_.dwError != 0 || moved <= 0;
        at_ = 0;
        filled_ = ended_ ? 0 : static_cast<std::size_t>(std::min(moved, kStreamBytes));
    }

    EDITSTREAM& stream_;
    BYTE buffer_[kStreamBytes] = {};
    std::size_t at_ = 0, filled_ = 0;
    bool ended_ = false;
};

// Passes `bytes` to the stream callback. Stops if the callback fails or takes fewer bytes than offered. Returns how
// many bytes the callback took.
LRESULT giveAway(EDITSTREAM& stream, std::string bytes) {
    LRESULT taken = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const LONG offered = static_cast<LONG>(std::min<std::size_t>(kStreamBytes, bytes.size() - at));
        LONG moved = 0;
        stream.dwError =
            stream.pfnCallback(stream.dwCookie, reinterpret_cast<LPBYTE>(bytes.data() + at), offered, &moved);
        taken += std::clamp<LONG>(moved, 0, offered);
        if (stream.dwError != 0 || moved < offered) break;
        at += static_cast<std::size_t>(offered);
    }
    return taken;
}

// Turns every kind of line end in plain text into a paragraph end.
std::u16string paragraphs(std::u16string_view text) {
    std::u16string result;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == u'\n') {
            if (i == 0 || text[i - 1] != u'\r') result += kParagraphEnd;
        } else {
            result += text[i];
        }
    return result;
}

class RichEdit : public TextControl {
  public:
    explicit RichEdit(Window& window) : TextControl(window, kMostTyped) {
        content_.append(paragraphs(window.text), {});
        window.text = shownText();
    }

    std::optional<LRESULT> answer(UINT message, WPARAM wParam, LPARAM lParam) override {
        switch (message) {
            case WM_SETTEXT:
                setText(paragraphs(lParam == 0 ? u"" : reinterpret_cast<LPCWSTR>(lParam)));
                return TRUE;
            // Only some Windows versions send EN_CHANGE when the font changes. The stand-in sends it, so that tests
            // cover the harder case.
            case WM_SETFONT: {
                const std::optional<LRESULT> result = TextControl::answer(message, wParam, lParam);
                sayChanged();
                return result;
            }
            case EM_EXLIMITTEXT:
                limit(lParam == 0 ? kDefaultLimit : static_cast<std::size_t>(lParam));
                return 0;
            case EM_SETEVENTMASK:
                return std::exchange(eventMask_, lParam);
            case EM_SETBKGNDCOLOR:
                return exchangeBackground(wParam != 0 ? 0xFFFFFF : static_cast<COLORREF>(lParam));
            case EM_EXGETSEL:
                *reinterpret_cast<CHARRANGE*>(lParam) = {static_cast<LONG>(first_), static_cast<LONG>(last_)};
                return 0;
            case EM_EXSETSEL: {
                const CHARRANGE range = *reinterpret_cast<const CHARRANGE*>(lParam);
                select(range.cpMin, range.cpMax);
                return static_cast<LRESULT>(last_);
            }
            case EM_SETCHARFORMAT:
                return setFormat(wParam, *reinterpret_cast<const CHARFORMAT2W*>(lParam));
            case EM_STREAMIN:
                return streamIn(wParam, *reinterpret_cast<EDITSTREAM*>(lParam));
            case EM_STREAMOUT:
                return streamOut(wParam, *reinterpret_cast<EDITSTREAM*>(lParam));
            default:
                return TextControl::answer(message, wParam, lParam);
        }
    }

  private:
    void sayChanged() const override {
        if ((eventMask_ & ENM_CHANGE) != 0) tellParent(EN_CHANGE);
    }
    std::u16string shownText() const override {
        std::u16string text;
        for (const char16_t unit : content_.text())
            if (unit == kParagraphEnd)
                text += u"\r\n";
            else
                text += unit == kLineEnd ? u' ' : unit;
        return text;
    }
    // Counts the final paragraph mark, which is not part of the text.
    std::size_t furthest() const override { return content_.size() + 1; }
    std::u16string typed(char16_t unit) const override {
        const bool isText = (unit >= 0x20 && unit != 0x7F) || unit == u'\t' || unit == kParagraphEnd;
        return isText ? std::u16string(1, unit) : std::u16string();
    }

    LRESULT exchangeBackground(COLORREF color) {
        refresh();
        return static_cast<LRESULT>(std::exchange(background_, color));
    }

    // Only the colour of a format can be set.
    LRESULT setFormat(WPARAM where, const CHARFORMAT2W& format) {
        if (format.cbSize != sizeof(CHARFORMAT2W) && format.cbSize != sizeof(CHARFORMATW)) return FALSE;
        if (format.dwMask != CFM_COLOR || (where != SCF_DEFAULT && where != SCF_SELECTION)) return FALSE;
        const bool isAutomatic = (format.dwEffects & CFE_AUTOCOLOR) != 0;
        refresh();
        if (where == SCF_SELECTION) {
            content_.setColor(first_, std::min(last_, content_.size()),
                              isAutomatic ? std::nullopt : std::optional(format.crTextColor));
            return TRUE;
        }
        defaultColor_ = isAutomatic ? 0 : format.crTextColor;
        sayChanged();
        return TRUE;
    }

    LRESULT streamIn(WPARAM form, EDITSTREAM& stream) {
        stream.dwError = 0;
        if (form != SF_RTF) return refuse(stream);
        RichText content;
        IncomingBytes bytes(stream);
        const DWORD error = readRtf([&bytes] { return bytes.next(); }, content);
        if (stream.dwError == 0) stream.dwError = error;
        if (content.size() > limit()) content.replace(limit(), content.size(), {}, {});
        const LRESULT units = static_cast<LRESULT>(content.size());
        load(std::move(content));
        return units;
    }
    LRESULT streamOut(WPARAM form, EDITSTREAM& stream) {
        stream.dwError = 0;
        if (form != SF_RTF) return refuse(stream);
        std::string bytes = writeRtf(content_);
        bytes += '\0';  // Windows ends the RTF with a zero byte too; callers must cope with it
        return giveAway(stream, std::move(bytes));
    }
    static LRESULT refuse(EDITSTREAM& stream) {
        stream.dwError = ERROR_INVALID_PARAMETER;
        return 0;
    }

    LRESULT eventMask_ = 0;
};

LRESULT CALLBACK richEditProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
    return runTextControl(
        [](Window& window) -> std::unique_ptr<TextControl> { return std::make_unique<RichEdit>(window); }, handle,
        message, wParam, lParam);
}

}  // namespace

void registerRichEdit() {
    registerControlClass(u"RICHEDIT50W", 0, richEditProcedure);
}

}  // namespace platform
