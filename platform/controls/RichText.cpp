#include "controls/RichText.h"

namespace platform {

std::vector<TextRun> RichText::runs() const {
    std::vector<TextRun> runs;
    const std::u16string_view all = text_;
    for (std::size_t first = 0, last = 0; first < all.size(); first = last) {
        while (last < all.size() && formats_[last] == formats_[first])
            ++last;
        runs.push_back({all.substr(first, last - first), formats_[first]});
    }
    return runs;
}

void RichText::replace(std::size_t first, std::size_t last, std::u16string_view text, const TextFormat& format) {
    text_.replace(first, last - first, text);
    const auto at = [this](std::size_t index) { return formats_.begin() + static_cast<std::ptrdiff_t>(index); };
    const auto place = formats_.erase(at(first), at(last));
    formats_.insert(place, text.size(), format);
}

void RichText::setColor(std::size_t first, std::size_t last, std::optional<COLORREF> color) {
    for (std::size_t i = first; i < last; ++i)
        formats_[i].color = color;
}

}  // namespace platform
