// Appends JSON text, in the format of note files, to a string of UTF-8 or UTF-16. Within a container call element()
// before each element, or key() before each member, then value(), null() or open() and close().
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

#include "common/WideText.h"
#include "notes/TextRuns.h"

template <typename Text>
class JsonWriter {
  public:
    // `out` must outlive the writer.
    JsonWriter(Text& out, bool pretty) : out_(out), isPretty_(pretty) {}

    void open(char bracket);
    void close(char bracket);
    void element();
    void key(WideView name);

    void null() { word("null"); }
    void value(bool flag) { word(flag ? "true" : "false"); }
    void value(double number);
    void value(WideView text);

  private:
    using Unit = typename Text::value_type;

    void word(std::string_view ascii) { out_.append(ascii.begin(), ascii.end()); }
    void newLine();
    static std::size_t writeSpecial(WideView text, std::size_t& at, Unit* to);

    Text& out_;
    bool isPretty_;
    bool isEmpty_ = true;  // the current container has no element yet
    std::size_t depth_ = 0;
};

template <typename Text>
void JsonWriter<Text>::newLine() {
    out_.push_back(Unit('\n'));
    out_.append(2 * depth_, Unit(' '));
}

template <typename Text>
void JsonWriter<Text>::open(char bracket) {
    out_.push_back(static_cast<Unit>(bracket));
    ++depth_;
    isEmpty_ = true;
}

template <typename Text>
void JsonWriter<Text>::close(char bracket) {
    --depth_;
    if (isPretty_ && !isEmpty_) newLine();
    out_.push_back(static_cast<Unit>(bracket));
    isEmpty_ = false;
}

template <typename Text>
void JsonWriter<Text>::element() {
    if (!isEmpty_) out_.push_back(Unit(','));
    if (isPretty_) newLine();
    isEmpty_ = false;
}

template <typename Text>
void JsonWriter<Text>::key(WideView name) {
    element();
    value(name);
    out_.push_back(Unit(':'));
    if (isPretty_) out_.push_back(Unit(' '));
}

// Integers in the range of 64 bits are written without a fraction, all other numbers with 17 significant digits.
template <typename Text>
void JsonWriter<Text>::value(double number) {
    constexpr double kBeyond = 9223372036854775808.0;
    if (!std::isfinite(number)) return null();
    char digits[64];
    char* last = digits;
    if (std::trunc(number) == number && number >= -kBeyond && number <= kBeyond) {
        // 2^63 does not fit in 64 bits and is written as -2^63.
        const LONGLONG whole = number == kBeyond ? INT64_MIN : static_cast<LONGLONG>(number);
        last = std::to_chars(digits, digits + sizeof digits, whole).ptr;
    } else {
        last = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::general, 17).ptr;
    }
    word(std::string_view(digits, static_cast<std::size_t>(last - digits)));
}

// Collects the escaped text in a small buffer that stays in the processor's cache.
template <typename Text>
void JsonWriter<Text>::value(WideView text) {
    constexpr std::size_t kBuffer = 4096, kMostAtOnce = 6;
    Unit buffer[kBuffer];
    buffer[0] = Unit('"');
    std::size_t held = 1;
    for (std::size_t at = 0; at < text.size();) {
        if (kBuffer - held < kMostAtOnce) {
            out_.append(buffer, held);
            held = 0;
        }
        const std::size_t most = std::min(text.size() - at, kBuffer - held);
        const std::size_t run = copyPlainRun(text.data() + at, most, buffer + held);
        at += run;
        held += run;
        if (at < text.size() && kBuffer - held >= kMostAtOnce) held += writeSpecial(text, at, buffer + held);
    }
    out_.append(buffer, held);
    out_.push_back(Unit('"'));
}

// Writes the character at `at`, escaped or converted if needed, and moves `at` past it. Returns the number of units
// written.
template <typename Text>
std::size_t JsonWriter<Text>::writeSpecial(WideView text, std::size_t& at, Unit* to) {
    const WCHAR unit = text[at++];
    const auto put = [to](std::size_t index, unsigned value) { to[index] = static_cast<Unit>(value); };
    const auto escape = [&put](char letter) {
        put(0, '\\');
        put(1, static_cast<unsigned char>(letter));
        return std::size_t(2);
    };
    switch (unit) {
        case TEXT('"'):
        case TEXT('\\'):
            return escape(static_cast<char>(unit));
        case TEXT('\b'):
            return escape('b');
        case TEXT('\f'):
            return escape('f');
        case TEXT('\n'):
            return escape('n');
        case TEXT('\r'):
            return escape('r');
        case TEXT('\t'):
            return escape('t');
        default:
            break;
    }
    if (unit < 0x20) {
        escape('u');
        put(2, '0');
        put(3, '0');
        put(4, unit < 0x10 ? '0' : '1');
        put(5, static_cast<unsigned char>("0123456789abcdef"[unit & 0xF]));
        return 6;
    }
    if (sizeof(Unit) == sizeof(WCHAR) || unit < 0x80) {
        put(0, unit);
        return 1;
    }
    const bool isSurrogate = (unit & 0xF800) == 0xD800;
    const bool isPair = (unit & 0xFC00) == 0xD800 && at < text.size() && (text[at] & 0xFC00) == 0xDC00;
    const unsigned c = isPair ? 0x10000 + ((unit & 0x3FFU) << 10) + (text[at++] & 0x3FFU) : isSurrogate ? 0xFFFD : unit;
    const std::size_t length = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    constexpr unsigned kLeads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t i = length; i-- > 1;)
        put(i, 0x80 | ((c >> (6 * (length - 1 - i))) & 0x3F));
    put(0, kLeads[length] | (c >> (6 * (length - 1))));
    return length;
}
