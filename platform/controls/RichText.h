// Text with a format for each character, as the text controls store it.
#pragma once

#include <windef.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

constexpr char16_t kParagraphEnd = u'\r';
constexpr char16_t kLineEnd = u'\v';  // a line break inside a paragraph

struct TextFormat {
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strike = false;
    std::optional<COLORREF> color;  // nullopt: the control's own colour
    std::optional<int> halfPoints;  // the size; nullopt: the size of the control's font

    friend bool operator==(const TextFormat&, const TextFormat&) = default;
};

// A maximal run of text with one format.
struct TextRun {
    std::u16string_view text;  // points into the RichText
    TextFormat format;
};

class RichText {
  public:
    const std::u16string& text() const { return text_; }
    std::size_t size() const { return text_.size(); }
    const TextFormat& formatAt(std::size_t index) const { return formats_[index]; }
    std::vector<TextRun> runs() const;

    // Replaces the units in [first, last) with `text`.
    void replace(std::size_t first, std::size_t last, std::u16string_view text, const TextFormat& format);
    void append(std::u16string_view text, const TextFormat& format) { replace(size(), size(), text, format); }
    void setColor(std::size_t first, std::size_t last, std::optional<COLORREF> color);

  private:
    std::u16string text_;
    std::vector<TextFormat> formats_;  // one for each UTF-16 unit
};

}  // namespace platform
