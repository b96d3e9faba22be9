// Text with the format of each of its characters, as the text controls hold it.
#pragma once

#include <windef.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

constexpr char16_t kParagraphEnd = u'\r';
constexpr char16_t kLineEnd = u'\v';  // a new line in the same paragraph

struct TextFormat {
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strike = false;
    std::optional<COLORREF> color;  // none: the control's own colour
    std::optional<int> halfPoints;  // the size; none: that of the control's font

    friend bool operator==(const TextFormat&, const TextFormat&) = default;
};

// A stretch of text with one format, as long as it can be.
struct TextRun {
    std::u16string_view text;  // of the RichText that was asked
    TextFormat format;
};

class RichText {
  public:
    const std::u16string& text() const { return text_; }
    std::size_t size() const { return text_.size(); }
    const TextFormat& formatAt(std::size_t index) const { return formats_[index]; }
    std::vector<TextRun> runs() const;

    // Puts `text` in the place of the units from `first` up to `last`.
    void replace(std::size_t first, std::size_t last, std::u16string_view text, const TextFormat& format);
    void append(std::u16string_view text, const TextFormat& format) { replace(size(), size(), text, format); }
    void setColor(std::size_t first, std::size_t last, std::optional<COLORREF> color);

  private:
    std::u16string text_;
    std::vector<TextFormat> formats_;  // one for each unit
};

}  // namespace platform
