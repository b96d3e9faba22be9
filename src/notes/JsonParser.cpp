// The JSON parser: one grammar, as a template over UTF-8 and UTF-16. The UTF-8 version is fast: it reads each byte once
// and produces UTF-16 on the way. When it fails for any reason, the document is converted and parsed again as UTF-16.
// So every error and its position come from the UTF-16 version.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <type_traits>
#include <unordered_map>

#include "notes/Json.h"
#include "notes/Text.h"
#include "notes/TextRuns.h"

namespace {

constexpr int kMaxDepth = 65;
constexpr std::size_t kMaxElements = 1048576;
constexpr std::size_t kMaxStringUnits = 16777216;
constexpr std::size_t kIndexFrom = 64;     // from this many members on, keys are found by hash
constexpr unsigned kReservedObjects = 64;  // beyond this many objects nothing is reserved

template <typename Unit>
unsigned valueOf(Unit unit) {
    return static_cast<std::make_unsigned_t<std::conditional_t<sizeof(Unit) == 1, char, short>>>(unit);
}

// Finds duplicate keys of the object that is being parsed. A linear search would take quadratic time in a large object.
class KeyIndex {
  public:
    // The index of the first member with the same key as the last member.
    std::size_t find(const std::vector<JsonMember>& members) {
        const std::size_t last = members.size() - 1;
        const WideString& key = members[last].key;
        if (last < kIndexFrom) {
            std::size_t place = 0;
            while (!sameText(members[place].key, key))
                ++place;
            return place;
        }
        for (; indexed_ < last; ++indexed_)
            places_.emplace(hash_(members[indexed_].key), indexed_);
        for (auto [at, end] = places_.equal_range(hash_(key)); at != end; ++at)
            if (members[at->second].key == key) return at->second;
        return last;
    }

  private:
    std::hash<WideString> hash_;
    std::unordered_multimap<std::size_t, std::size_t> places_;
    std::size_t indexed_ = 0;
};

// The state of one parse.
template <typename Unit>
class JsonParser {
  public:
    JsonParser(const Unit* text, std::size_t length) : begin_(text), cursor(text), end(text + length) {}

    bool parseDocument(JsonValue& out);
    WideString error;  // empty until the first failure

  private:
    bool parseValue(JsonValue& out, int depth);
    bool parseLiteral(JsonValue& out);
    bool parseNumber(JsonValue& out);
    bool parseString(WideString& out);
    bool parseEndOfLongString(WideString& out);
    // These write one or two units and advance `to`.
    bool parseUnit(WCHAR*& to);
    bool parseEscape(WCHAR*& to);
    bool parseUnicodeEscape(WCHAR*& to);
    bool parseOtherCharacter(WCHAR*& to);
    bool parseHexDigits(WCHAR& unit, const WCHAR* failure);
    bool parseArray(JsonValue& out, int depth);
    bool parseObject(JsonValue& out, int depth);
    bool parseMember(JsonValue& object, KeyIndex& index, int depth);

    bool atEnd() const { return cursor == end; }
    bool isAt(char unit) const { return cursor != end && *cursor == static_cast<Unit>(unit); }
    bool isAtDigit() const { return cursor != end && *cursor >= Unit('0') && *cursor <= Unit('9'); }
    bool take(char unit);
    bool takeWord(std::string_view word);
    bool takeDigits();
    void skipBlanks();
    std::size_t distanceToQuote() const;
    bool fail(const WCHAR* what);
    void locate();

    const Unit* begin_;
    const Unit* cursor;
    const Unit* end;
    int line = 1;
    int column = 1;
    unsigned smallObjects_ = 0;
};

template <typename Unit>
bool JsonParser<Unit>::take(char unit) {
    if (!isAt(unit)) return false;
    ++cursor;
    return true;
}

// Moves past `word` if it is next; the text after it does not matter.
template <typename Unit>
bool JsonParser<Unit>::takeWord(std::string_view word) {
    if (static_cast<std::size_t>(end - cursor) < word.size() || !std::equal(word.begin(), word.end(), cursor))
        return false;
    cursor += word.size();
    return true;
}

// Moves past one or more digits.
template <typename Unit>
bool JsonParser<Unit>::takeDigits() {
    const Unit* const first = cursor;
    while (isAtDigit())
        ++cursor;
    return cursor != first;
}

template <typename Unit>
void JsonParser<Unit>::skipBlanks() {
    constexpr ULONGLONG kBlanks = 1ULL << ' ' | 1ULL << '\n' | 1ULL << '\r' | 1ULL << '\t';
    const Unit* at = cursor;
    while (at != end && valueOf(*at) <= ' ' && (kBlanks >> valueOf(*at) & 1) != 0)
        ++at;
    cursor = at;
}

// Computes line and column of the cursor. Done only for an error, so parsing does not keep them up to date.
template <typename Unit>
void JsonParser<Unit>::locate() {
    line = column = 1;
    for (const Unit* at = begin_; at != cursor; ++at) {
        if (*at == Unit('\n')) {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
}

template <typename Unit>
bool JsonParser<Unit>::fail(const WCHAR* what) {
    if (!error.empty()) return false;  // the first error wins
    locate();
    WCHAR text[256];
    formatWide(text, 256, TEXT("JSON parse error at line %d col %d: %ls"), line, column, what);
    error = text;
    return false;
}

template <typename Unit>
bool JsonParser<Unit>::parseDocument(JsonValue& out) {
    skipBlanks();
    if (!parseValue(out, 0)) return false;
    skipBlanks();
    return atEnd() || fail(TEXT("trailing characters after JSON value"));
}

template <typename Unit>
bool JsonParser<Unit>::parseValue(JsonValue& out, int depth) {
    if (depth >= kMaxDepth) return fail(TEXT("max nesting depth exceeded"));
    skipBlanks();
    if (atEnd()) return fail(TEXT("unexpected end of input"));
    switch (*cursor) {
        case '{':
            return parseObject(out, depth);
        case '[':
            return parseArray(out, depth);
        case '"':
            out.kind = JsonKind::String;
            return parseString(out.stringValue);
        case 't':
        case 'f':
        case 'n':
            return parseLiteral(out);
        default:
            if (isAt('-') || isAtDigit()) return parseNumber(out);
            return fail(TEXT("unexpected character"));
    }
}

template <typename Unit>
bool JsonParser<Unit>::parseLiteral(JsonValue& out) {
    if (isAt('n')) return takeWord("null") || fail(TEXT("expected null"));
    out.kind = JsonKind::Bool;
    out.boolValue = takeWord("true");
    return out.boolValue || takeWord("false") || fail(TEXT("expected boolean"));
}

// A number out of range is accepted: too large becomes infinity, too small zero.
bool convertNumber(const char* first, const char* last, double& value) {
    const std::from_chars_result result = std::from_chars(first, last, value);
    if (result.ec == std::errc::result_out_of_range) value = std::strtod(std::string(first, last).c_str(), nullptr);
    return result.ptr != first;
}

bool convertNumber(const WCHAR* first, const WCHAR* last, double& value) {
    const std::string text(first, last);
    return convertNumber(text.data(), text.data() + text.size(), value);
}

template <typename Unit>
bool JsonParser<Unit>::parseNumber(JsonValue& out) {
    const Unit* const first = cursor;
    const bool isNegative = take('-');
    if (atEnd()) return fail(TEXT("unexpected end in number"));
    if (!take('0') && !takeDigits()) return fail(TEXT("invalid number"));
    const bool isInteger = !isAt('.') && !isAt('e') && !isAt('E');
    if (take('.') && !takeDigits()) return fail(TEXT("invalid number (decimals)"));
    if (take('e') || take('E')) {
        if (!take('+')) take('-');
        if (!takeDigits()) return fail(TEXT("invalid number (exponent)"));
    }
    out.kind = JsonKind::Number;
    if (isInteger && cursor - first <= 15) {  // a double holds every integer of 15 digits exactly
        LONGLONG magnitude = 0;
        for (const Unit* at = first + isNegative; at != cursor; ++at)
            magnitude = magnitude * 10 + (*at - Unit('0'));
        out.numberValue = isNegative ? -static_cast<double>(magnitude) : static_cast<double>(magnitude);
        return true;
    }
    return convertNumber(first, cursor, out.numberValue) || fail(TEXT("could not parse number"));
}

// The distance to the next quote, escaped or not: an estimate of the length of a long string.
template <typename Unit>
std::size_t JsonParser<Unit>::distanceToQuote() const {
    const std::size_t rest = static_cast<std::size_t>(end - cursor);
    const Unit* const quote = std::char_traits<Unit>::find(cursor, rest, Unit('"'));
    return quote == nullptr ? rest : static_cast<std::size_t>(quote - cursor);
}

// The character that a letter after a backslash stands for; 0 for "u" and for letters that are not allowed.
constexpr std::array<char, 128> kEscapes = [] {
    std::array<char, 128> table{};
    table['"'] = '"';
    table['\\'] = '\\';
    table['/'] = '/';
    table['b'] = '\b';
    table['f'] = '\f';
    table['n'] = '\n';
    table['r'] = '\r';
    table['t'] = '\t';
    return table;
}();

// Collects the decoded text in a small buffer that stays in the processor's cache, and appends it in large steps.
template <typename Unit>
bool JsonParser<Unit>::parseString(WideString& out) {
    constexpr std::ptrdiff_t kBuffer = 2048, kMostAtOnce = 2;
    WCHAR buffer[kBuffer];
    out.clear();
    if (!take('"')) return fail(TEXT("expected string"));
    while (out.size() + kBuffer < kMaxStringUnits) {
        WCHAR* to = buffer;
        const Unit* at = cursor;  // a local copy: the compiler can keep it in a register
        for (std::ptrdiff_t room = kBuffer; room >= kMostAtOnce; room = buffer + kBuffer - to) {
            const std::size_t run = copyPlainRun(at, static_cast<std::size_t>(std::min(end - at, room)), to);
            at += run;
            to += run;
            const unsigned unit = at == end ? 0 : valueOf(*at);
            if (unit == '"') {
                cursor = at + 1;
                out.append(buffer, static_cast<std::size_t>(to - buffer));
                return true;
            }
            if (buffer + kBuffer - to < kMostAtOnce) break;
            const unsigned letter = unit == '\\' && end - at > 1 ? valueOf(at[1]) : 0;
            if (letter < kEscapes.size() && kEscapes[letter] != 0) {
                *to++ = static_cast<WCHAR>(kEscapes[letter]);
                at += 2;
                continue;
            }
            cursor = at;
            if (!parseUnit(to)) return false;
            at = cursor;
        }
        cursor = at;
        const std::size_t held = static_cast<std::size_t>(to - buffer);
        if (out.capacity() - out.size() < held) out.reserve(out.size() + held + distanceToQuote());
        out.append(buffer, held);
    }
    return parseEndOfLongString(out);
}

// The limit counts UTF-16 units: near it the UTF-16 parser decides.
template <typename Unit>
bool JsonParser<Unit>::parseEndOfLongString(WideString& out) {
    if (sizeof(Unit) == 1) return fail(TEXT("string too long"));
    while (!take('"')) {
        if (!atEnd() && out.size() > kMaxStringUnits) return fail(TEXT("string too long"));
        WCHAR units[2];
        WCHAR* to = units;
        if (!parseUnit(to)) return false;
        out.append(units, to);
    }
    return true;
}

template <typename Unit>
bool JsonParser<Unit>::parseUnit(WCHAR*& to) {
    if (atEnd()) return fail(TEXT("unterminated string"));
    if (isAt('\\')) return parseEscape(to);
    if (valueOf(*cursor) < 0x20) return fail(TEXT("unescaped control character in string"));
    return parseOtherCharacter(to);
}

template <typename Unit>
bool JsonParser<Unit>::parseEscape(WCHAR*& to) {
    ++cursor;
    if (atEnd()) return fail(TEXT("unterminated escape"));
    const unsigned letter = valueOf(*cursor++);
    if (letter < kEscapes.size() && kEscapes[letter] != 0) {
        *to++ = static_cast<WCHAR>(kEscapes[letter]);
        return true;
    }
    return letter == 'u' ? parseUnicodeEscape(to) : fail(TEXT("invalid escape"));
}

bool isHighSurrogate(WCHAR unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(WCHAR unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

template <typename Unit>
bool JsonParser<Unit>::parseUnicodeEscape(WCHAR*& to) {
    if (!parseHexDigits(*to++, TEXT("invalid \\u escape"))) return false;
    if (!isHighSurrogate(to[-1])) return true;
    if (!takeWord("\\u")) return fail(TEXT("unpaired high surrogate"));
    if (!parseHexDigits(*to++, TEXT("invalid \\u escape (low)"))) return false;
    return isLowSurrogate(to[-1]) || fail(TEXT("invalid low surrogate"));
}

template <typename Unit>
bool JsonParser<Unit>::parseHexDigits(WCHAR& unit, const WCHAR* failure) {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
        if (atEnd()) return fail(failure);
        const int digit = hexValue(static_cast<WCHAR>(*cursor));
        if (digit < 0) return fail(failure);
        value = value * 16 + static_cast<unsigned>(digit);
        ++cursor;
    }
    unit = static_cast<WCHAR>(value);
    return true;
}

// Takes a UTF-16 unit that copyPlainRun left.
template <>
bool JsonParser<WCHAR>::parseOtherCharacter(WCHAR*& to) {
    *to++ = *cursor++;
    return true;
}

// Takes a UTF-8 character that copyPlainRun left. Overlong forms and surrogates are malformed.
template <>
bool JsonParser<char>::parseOtherCharacter(WCHAR*& to) {
    const auto byte = [this](std::ptrdiff_t index) { return index < end - cursor ? valueOf(cursor[index]) : 0U; };
    const auto isTail = [&byte](std::ptrdiff_t index) { return (byte(index) & 0xC0) == 0x80; };
    const unsigned lead = byte(0);
    unsigned c = lead;
    std::ptrdiff_t length = 1;
    if (lead >= 0xC2 && lead <= 0xDF && isTail(1)) {
        c = (lead & 0x1F) << 6 | (byte(1) & 0x3F);
        length = 2;
    } else if ((lead & 0xF0) == 0xE0 && isTail(1) && isTail(2)) {
        c = (lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        length = c >= 0x800 && (c & 0xF800) != 0xD800 ? 3 : 0;
    } else if ((lead & 0xF8) == 0xF0 && isTail(1) && isTail(2) && isTail(3)) {
        c = (lead & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
        length = c >= 0x10000 && c <= 0x10FFFF ? 4 : 0;
    } else if (lead >= 0x80) {
        length = 0;
    }
    if (length == 0) return fail(TEXT("malformed UTF-8"));
    cursor += length;
    if (length == 4) *to++ = static_cast<WCHAR>(0xD7C0 + (c >> 10));
    *to++ = static_cast<WCHAR>(length == 4 ? 0xDC00 + (c & 0x3FF) : c);
    return true;
}

template <typename Unit>
bool JsonParser<Unit>::parseArray(JsonValue& out, int depth) {
    if (!take('[')) return fail(TEXT("expected '['"));
    out.kind = JsonKind::Array;
    skipBlanks();
    if (take(']')) return true;
    for (std::size_t count = 1;;) {
        if (!parseValue(out.items.emplace_back(), depth + 1)) return false;
        skipBlanks();
        if (atEnd()) return fail(TEXT("unterminated array"));
        if (take(']')) return true;
        if (!take(',')) return fail(TEXT("expected ',' or ']'"));
        skipBlanks();
        if (++count > kMaxElements) return fail(TEXT("too many array items"));
    }
}

template <typename Unit>
bool JsonParser<Unit>::parseObject(JsonValue& out, int depth) {
    if (!take('{')) return fail(TEXT("expected '{'"));
    out.kind = JsonKind::Object;
    skipBlanks();
    if (take('}')) return true;
    KeyIndex index;
    if (depth == 0)
        out.members.reserve(16);  // about as many as a note's document has
    else if (smallObjects_++ < kReservedObjects)
        out.members.reserve(4);  // as many as the objects in it have
    for (std::size_t count = 1;;) {
        if (!parseMember(out, index, depth)) return false;
        skipBlanks();
        if (atEnd()) return fail(TEXT("unterminated object"));
        if (take('}')) return true;
        if (!take(',')) return fail(TEXT("expected ',' or '}'"));
        if (++count > kMaxElements) return fail(TEXT("too many object members"));
    }
}

// A duplicate key keeps its first position and takes the last value.
template <typename Unit>
bool JsonParser<Unit>::parseMember(JsonValue& object, KeyIndex& index, int depth) {
    JsonMember& member = object.members.emplace_back();
    skipBlanks();
    if (!parseString(member.key)) return false;
    skipBlanks();
    if (!take(':')) return fail(TEXT("expected ':'"));
    if (!parseValue(member.value, depth + 1)) return false;
    JsonMember& first = object.members[index.find(object.members)];
    if (&first == &member) return true;
    first.value = std::move(member.value);
    object.members.pop_back();
    return true;
}

}  // namespace

// `text` may be a view of a string in `outValue`, so `outValue` is replaced at the end.
bool parseJson(WideView text, JsonValue& outValue, WideString* outError) {
    JsonValue parsed;
    JsonParser<WCHAR> parser(text.data(), text.size());
    const bool isWhole = parser.parseDocument(parsed);
    outValue = std::move(parsed);
    if (!isWhole && outError != nullptr) *outError = std::move(parser.error);
    return isWhole;
}

bool parseJsonUtf8(std::string_view bytes, JsonValue& outValue, WideString* outError) {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    outValue = JsonValue();
    JsonParser<char> parser(bytes.data(), bytes.size());
    if (parser.parseDocument(outValue)) return true;
    outValue = JsonValue();  // free the memory before the second attempt
    return parseJson(utf8ToWide(bytes), outValue, outError);
}
