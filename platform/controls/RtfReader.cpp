// Reads RTF into a RichText. The rich edit control calls it on the thread of its window. There is no global state.
#include <algorithm>
#include <string_view>
#include <utility>

#include "controls/CodePages.h"
#include "controls/Rtf.h"

namespace platform {
namespace {

constexpr std::size_t kDeepestGroup = 512;
constexpr int kPlainHalfPoints = 24;  // the size that \plain restores

enum class Destination { Text, Colors, Nowhere };

// The state of an RTF group. A group starts with a copy of its parent's state, which is dropped when the group ends.
struct Group {
    TextFormat format;
    Destination destination = Destination::Text;
    int fallbackUnits = 1;  // how many characters after \u to skip: the fallback for readers without Unicode
};

struct Word {
    std::string name;
    bool hasNumber = false;
    int number = 0;

    bool isOn() const { return !hasNumber || number != 0; }
};

struct Character {
    std::string_view word;
    char16_t unit;
};
constexpr Character kCharacters[] = {
    {"par", kParagraphEnd}, {"sect", kParagraphEnd}, {"page", kParagraphEnd}, {"row", kParagraphEnd},
    {"line", kLineEnd},     {"tab", u'\t'},          {"cell", u'\t'},         {"bullet", 0x2022},
    {"emdash", 0x2014},     {"endash", 0x2013},      {"lquote", 0x2018},      {"rquote", 0x2019},
    {"ldblquote", 0x201C},  {"rdblquote", 0x201D},   {"emspace", 0x2003},     {"enspace", 0x2002},
    {"ltrmark", 0x200E},    {"rtlmark", 0x200F},     {"zwj", 0x200D},         {"zwnj", 0x200C},
};

constexpr std::string_view kNotText[] = {"fonttbl",  "stylesheet", "info",    "pict",    "header",  "headerl",
                                         "headerr",  "headerf",    "footer",  "footerl", "footerr", "footerf",
                                         "footnote", "fldinst",    "filetbl", "pntext",  "object",  "nonshppict"};

int hexDigit(int byte) {
    if (byte >= '0' && byte <= '9') return byte - '0';
    if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
    return -1;
}
bool isLetter(int byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}
bool isDigit(int byte) {
    return byte >= '0' && byte <= '9';
}

class Reader {
  public:
    Reader(const RtfBytes& next, RichText& text) : next_(next), text_(text) {}

    DWORD read() {
        if (!begins()) return kRtfIsNone;
        groups_.emplace_back();
        carryOut(readWord("rtf"));
        while (error_ == kRtfOk && !groups_.empty())
            step();
        flush();
        dropLastParagraphEnd();
        return error_;
    }

  private:
    bool begins() {
        return std::ranges::all_of(std::string_view("{\\rtf"), [this](char expected) { return take() == expected; });
    }

    int take() {
        if (held_ < 0) return next_();
        return std::exchange(held_, -1);
    }
    void putBack(int byte) { held_ = byte; }

    void step() {
        const int byte = take();
        switch (byte) {
            case -1:
                error_ = kRtfIsCutShort;
                break;
            case '{':
                open();
                break;
            case '}':
                close();
                break;
            case '\\':
                readControl();
                break;
            case '\r':
            case '\n':
            case '\0':
                break;
            default:
                addByte(byte);
        }
    }

    Group& group() { return groups_.back(); }

    void open() {
        flush();
        fallback_ = 0;
        if (groups_.size() >= kDeepestGroup)
            error_ = kRtfIsDamaged;
        else
            groups_.push_back(Group(group()));
    }
    void close() {
        flush();
        fallback_ = 0;
        groups_.pop_back();
    }

    void readControl() {
        const int byte = take();
        if (isLetter(byte)) return carryOut(readWord(std::string(1, static_cast<char>(byte))));
        switch (byte) {
            case -1:
                error_ = kRtfIsCutShort;
                break;
            case '\'':
                readHexByte();
                break;
            case '\\':
            case '{':
            case '}':
                addByte(byte);
                break;
            case '~':
                addUnit(0xA0);
                break;
            case '_':
                addUnit(0x2011);
                break;
            case '\r':
            case '\n':
                addUnit(kParagraphEnd);
                break;
            case '*':
                flush();
                group().destination = Destination::Nowhere;
                break;
            default:
                break;
        }
    }

    void readHexByte() {
        const int high = hexDigit(take()), low = high < 0 ? -1 : hexDigit(take());
        if (low < 0)
            error_ = kRtfIsDamaged;
        else
            addByte(high * 16 + low);
    }

    // Reads the rest of a control word that starts with `name`, its number, and the space that ends it.
    Word readWord(std::string name) {
        Word word{std::move(name)};
        int byte = take();
        for (; isLetter(byte); byte = take())
            word.name += static_cast<char>(byte);
        const bool isNegative = byte == '-';
        if (isNegative) byte = take();
        for (; isDigit(byte); byte = take()) {
            word.hasNumber = true;
            word.number = std::min(word.number * 10 + (byte - '0'), 100000000);
        }
        if (isNegative) word.number = -word.number;
        if (byte != ' ') putBack(byte);
        return word;
    }

    void carryOut(const Word& word) {
        flush();
        if (word.name == "bin") return skipBytes(word.number);
        if (group().destination == Destination::Nowhere) return;
        if (group().destination == Destination::Colors) return mixColor(word);
        if (word.name == "u") return addUnicode(word);
        if (setFormat(word) || setReading(word)) return;
        for (const Character& character : kCharacters)
            if (character.word == word.name) return addUnit(character.unit);
    }

    void skipBytes(int count) {
        while (count-- > 0)
            if (take() < 0) return;
    }

    void mixColor(const Word& word) {
        const int shift = word.name == "red" ? 0 : word.name == "green" ? 8 : word.name == "blue" ? 16 : -1;
        if (shift < 0) return;
        mixed_ = mixed_.value_or(0) | (static_cast<COLORREF>(std::clamp(word.number, 0, 255)) << shift);
    }

    void addUnicode(const Word& word) {
        if (word.number != 0) addUnit(static_cast<char16_t>(word.number & 0xffff));
        fallback_ = group().fallbackUnits;
    }

    bool setFormat(const Word& word) {
        TextFormat& format = group().format;
        if (word.name == "b")
            format.bold = word.isOn();
        else if (word.name == "i")
            format.italic = word.isOn();
        else if (word.name == "ulnone")
            format.underline = false;
        else if (word.name == "ul" || word.name == "uld" || word.name == "uldb" || word.name == "ulw")
            format.underline = word.isOn();
        else if (word.name == "strike")
            format.strike = word.isOn();
        else if (word.name == "cf")
            format.color = colorOf(word.number);
        else if (word.name == "fs")
            format.halfPoints = word.number > 0 ? std::min(word.number, 3276) : kPlainHalfPoints;
        else if (word.name == "plain")
            format = {false, false, false, false, {}, kPlainHalfPoints};
        else
            return false;
        return true;
    }

    std::optional<COLORREF> colorOf(int place) const {
        if (place < 0 || static_cast<std::size_t>(place) >= colors_.size()) return {};
        return colors_[static_cast<std::size_t>(place)];
    }

    bool setReading(const Word& word) {
        if (word.name == "ansicpg")
            codePage_ = static_cast<unsigned>(std::max(word.number, 0));
        else if (word.name == "uc")
            group().fallbackUnits = std::max(word.number, 0);
        else if (word.name == "colortbl")
            group().destination = Destination::Colors;
        else if (std::ranges::find(kNotText, word.name) != std::end(kNotText))
            group().destination = Destination::Nowhere;
        else
            return false;
        return true;
    }

    void addByte(int byte) {
        if (group().destination == Destination::Nowhere) return;
        if (group().destination == Destination::Colors) {
            if (byte == ';') colors_.push_back(std::exchange(mixed_, {}));
            return;
        }
        if (fallback_ > 0)
            --fallback_;
        else if (byte != 0)
            bytes_ += static_cast<char>(byte);
    }

    void addUnit(char16_t unit) {
        flush();
        fallback_ = 0;
        if (group().destination != Destination::Text) return;
        const char16_t kept = unit == u'\n' ? kParagraphEnd : unit;
        text_.append({&kept, 1}, group().format);
    }

    // Decodes the collected bytes together, since one character may span several bytes.
    void flush() {
        if (bytes_.empty()) return;
        std::u16string text = decodeCodePage(bytes_, codePage_);
        std::ranges::replace(text, u'\n', kParagraphEnd);
        text_.append(text, group().format);
        bytes_.clear();
    }

    // The mark that ends the last paragraph does not start another paragraph.
    void dropLastParagraphEnd() {
        if (text_.text().ends_with(kParagraphEnd)) text_.replace(text_.size() - 1, text_.size(), {}, {});
    }

    const RtfBytes& next_;
    RichText& text_;
    int held_ = -1;
    DWORD error_ = kRtfOk;
    std::vector<Group> groups_;
    std::string bytes_;  // text in the code page, not decoded yet
    unsigned codePage_ = kWesternCodePage;
    int fallback_ = 0;  // how many characters to skip
    std::vector<std::optional<COLORREF>> colors_;
    std::optional<COLORREF> mixed_;
};

}  // namespace

DWORD readRtf(const RtfBytes& next, RichText& text) {
    return Reader(next, text).read();
}

}  // namespace platform
