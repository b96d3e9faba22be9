#include "notes/NoteRecord.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "common/Identity.h"
#include "common/UtcTime.h"
#include "notes/FileIo.h"
#include "notes/JsonWriter.h"

namespace {

constexpr LONG kLeastWidth = 120, kLeastHeight = 100, kLargestExtent = 8000;

int hexValue(WCHAR unit) {
    if (unit >= TEXT('0') && unit <= TEXT('9')) return unit - TEXT('0');
    if (unit >= TEXT('A') && unit <= TEXT('F')) return unit - TEXT('A') + 10;
    if (unit >= TEXT('a') && unit <= TEXT('f')) return unit - TEXT('a') + 10;
    return -1;
}

// Toward zero; what does not fit becomes the least number, as a conversion by the processor makes it.
LONG truncated(double number) {
    const double whole = std::trunc(number);
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<LONG>(whole) : INT32_MIN;
}

// The members of an object. Each search begins where the last one ended: a file that the program wrote has its members
// in the order in which they are asked for.
class Members {
  public:
    explicit Members(JsonValue& object) : members_(object.members) {}

    // Null where there is no such member.
    JsonValue* find(WideView key) {
        for (std::size_t tried = 0; tried < members_.size(); ++tried) {
            if (next_ == members_.size()) next_ = 0;
            JsonMember& member = members_[next_++];
            if (member.key == key) return &member.value;
        }
        return nullptr;
    }
    // Moved out; empty where there is no text.
    WideString takeText(WideView key) {
        JsonValue* const value = find(key);
        return value == nullptr ? WideString() : std::move(value->stringValue);
    }
    const WideString& text(WideView key) {
        static const WideString empty;
        const JsonValue* const value = find(key);
        return value == nullptr ? empty : value->asString();
    }
    bool flag(WideView key) {
        const JsonValue* const value = find(key);
        return value != nullptr && value->boolValue;
    }
    LONG number(WideView key, LONG otherwise) {
        const JsonValue* const value = find(key);
        return value != nullptr && value->kind == JsonKind::Number ? truncated(value->numberValue) : otherwise;
    }

  private:
    std::vector<JsonMember>& members_;
    std::size_t next_ = 0;
};

SYSTEMTIME now() {
    SYSTEMTIME time;
    GetSystemTime(&time);
    return time;
}

void readColors(Members& members, NoteRecord& record) {
    parseColor(members.text(TEXT("bgColor")), record.bgColor);
    record.titleBarBGColorSet = parseColor(members.text(TEXT("titleBarBGColor")), record.titleBarBGColor);
    parseColor(members.text(TEXT("noteTitleColor")), record.noteTitleColor);
    parseColor(members.text(TEXT("noteBodyColor")), record.noteBodyColor);
}

void readPosition(Members members, NoteRecord& record) {
    record.hasPosition = true;
    record.x = members.number(TEXT("x"), record.x);
    record.y = members.number(TEXT("y"), record.y);
    record.width = members.number(TEXT("width"), record.width);
    record.height = members.number(TEXT("height"), record.height);
}

RECT readBounds(Members members) {
    const LONG left = members.number(TEXT("left"), 0), top = members.number(TEXT("top"), 0);
    return {left, top, members.number(TEXT("right"), 0), members.number(TEXT("bottom"), 0)};
}

void readPlace(Members& members, NoteRecord& record) {
    // A value of another kind has no members, so only the position, whose presence counts, has its kind tested.
    JsonValue* const position = members.find(TEXT("position"));
    if (position != nullptr && position->kind == JsonKind::Object) readPosition(Members(*position), record);
    record.width = std::clamp(record.width, kLeastWidth, kLargestExtent);
    record.height = std::clamp(record.height, kLeastHeight, kLargestExtent);
    if (JsonValue* const monitor = members.find(TEXT("monitor"))) {
        Members inner(*monitor);
        record.monitorDevice = inner.takeText(TEXT("device"));
        if (JsonValue* const bounds = inner.find(TEXT("bounds"))) record.monitorBounds = readBounds(Members(*bounds));
    }
}

// The members of a note's document in their order, told to `out`, which makes values or text of them.
template <typename Out>
void describe(const NoteRecord& record, Out& out) {
    out.text(TEXT("id"), record.id);
    out.text(TEXT("title"), record.title);
    out.text(TEXT("content"), record.content);
    if (!record.contentRtf.empty()) out.text(TEXT("contentRtf"), record.contentRtf);
    out.text(TEXT("author"), record.author);
    out.text(TEXT("created"), formatUtcTime(record.created));
    out.text(TEXT("modified"), formatUtcTime(record.modified));
    if (record.bgColor != kDefaultNoteColor) out.text(TEXT("bgColor"), formatColor(record.bgColor));
    if (record.titleBarBGColorSet) out.text(TEXT("titleBarBGColor"), formatColor(record.titleBarBGColor));
    if (record.noteTitleColor != kDefaultTextColor)
        out.text(TEXT("noteTitleColor"), formatColor(record.noteTitleColor));
    if (record.noteBodyColor != kDefaultTextColor) out.text(TEXT("noteBodyColor"), formatColor(record.noteBodyColor));
    out.open(TEXT("position"));
    out.number(TEXT("x"), record.x);
    out.number(TEXT("y"), record.y);
    out.number(TEXT("width"), record.width);
    out.number(TEXT("height"), record.height);
    out.close();
    out.open(TEXT("monitor"));
    out.text(TEXT("device"), record.monitorDevice);
    out.open(TEXT("bounds"));
    out.number(TEXT("left"), record.monitorBounds.left);
    out.number(TEXT("top"), record.monitorBounds.top);
    out.number(TEXT("right"), record.monitorBounds.right);
    out.number(TEXT("bottom"), record.monitorBounds.bottom);
    out.close();
    out.close();
    out.flag(TEXT("editable"), record.editable);
    if (record.allowNewNote) out.flag(TEXT("allowNewNote"), true);
    if (!record.logo.empty()) out.text(TEXT("logo"), record.logo);
}

class ValueBuilder {
  public:
    explicit ValueBuilder(JsonValue& document) : open_{&document} {}
    void text(WideView key, const WideString& text) { open_.back()->set(key, JsonValue(text)); }
    void number(WideView key, LONG number) { open_.back()->set(key, JsonValue(static_cast<double>(number))); }
    void flag(WideView key, bool flag) { open_.back()->set(key, JsonValue(flag)); }
    void open(WideView key) { open_.push_back(&open_.back()->member(key)); }
    void close() { open_.pop_back(); }

  private:
    std::vector<JsonValue*> open_;  // a value gets no further member while one of its members is open
};

class TextBuilder {
  public:
    explicit TextBuilder(std::string& out) : writer_(out, true) { writer_.open('{'); }
    void text(WideView key, WideView text) { writer_.key(key), writer_.value(text); }
    void number(WideView key, LONG number) { writer_.key(key), writer_.value(static_cast<double>(number)); }
    void flag(WideView key, bool flag) { writer_.key(key), writer_.value(flag); }
    void open(WideView key) { writer_.key(key), writer_.open('{'); }
    void close() { writer_.close('}'); }

  private:
    JsonWriter<std::string> writer_;
};

bool failWith(const WCHAR* reason, WideString* outError) {
    if (outError != nullptr) *outError = reason;
    return false;
}

}  // namespace

bool loadNoteFile(const WideString& path, NoteRecord& outRecord, WideString* outError) {
    std::string bytes;
    if (!readFileBytes(path, bytes)) return failWith(TEXT("cannot read file"), outError);
    JsonValue value;
    if (!parseJsonUtf8(bytes, value, outError)) return false;
    return noteFromJson(std::move(value), outRecord) || failWith(TEXT("invalid note structure"), outError);
}

bool saveNoteFile(const WideString& path, const NoteRecord& record, WideString* outError) {
    return writeFileAtomic(path, serializeNote(record)) || failWith(TEXT("cannot write file"), outError);
}

bool noteFromJson(const JsonValue& value, NoteRecord& outRecord) {
    if (value.find(TEXT("id")).asString().empty()) return false;
    return noteFromJson(JsonValue(value), outRecord);
}

bool noteFromJson(JsonValue&& value, NoteRecord& outRecord) {
    if (value.find(TEXT("id")).asString().empty()) return false;
    Members members(value);
    outRecord = NoteRecord();
    outRecord.id = members.takeText(TEXT("id"));
    outRecord.title = members.takeText(TEXT("title"));
    outRecord.content = members.takeText(TEXT("content"));
    outRecord.contentRtf = members.takeText(TEXT("contentRtf"));
    outRecord.author = members.takeText(TEXT("author"));
    if (!parseUtcTime(members.text(TEXT("created")), outRecord.created)) outRecord.created = now();
    if (!parseUtcTime(members.text(TEXT("modified")), outRecord.modified)) outRecord.modified = outRecord.created;
    readColors(members, outRecord);
    readPlace(members, outRecord);
    outRecord.editable = members.flag(TEXT("editable"));
    outRecord.allowNewNote = members.flag(TEXT("allowNewNote"));
    outRecord.logo = members.takeText(TEXT("logo"));
    return true;
}

JsonValue noteToJson(const NoteRecord& record) {
    JsonValue document;
    document.kind = JsonKind::Object;
    document.members.reserve(16);
    ValueBuilder builder(document);
    describe(record, builder);
    return document;
}

std::string serializeNote(const NoteRecord& record) {
    // Escapes and characters beyond ASCII take more; the text then grows once or twice.
    const std::size_t texts = record.id.size() + record.title.size() + record.content.size() +
                              record.contentRtf.size() + record.author.size() + record.logo.size();
    std::string out;
    out.reserve(640 + texts + texts / 8);
    TextBuilder builder(out);
    describe(record, builder);
    builder.close();
    return out;
}

NoteRecord newNoteRecord(const WideString& author) {
    NoteRecord record;
    record.id = newGuidText();
    record.author = author;
    record.created = record.modified = now();
    record.editable = true;
    return record;
}

bool parseColor(WideView text, COLORREF& outColor) {
    if (text.empty() || text.front() != TEXT('#') || (text.size() != 7 && text.size() != 4)) return false;
    const bool isShort = text.size() == 4;
    COLORREF color = 0;
    for (unsigned channel = 0; channel < 3; ++channel) {  // red, which is the lowest byte, comes first
        const int high = hexValue(text[isShort ? 1 + channel : 1 + 2 * channel]);
        const int low = hexValue(text[isShort ? 1 + channel : 2 + 2 * channel]);
        if (high < 0 || low < 0) return false;
        color |= static_cast<COLORREF>(high * 16 + low) << (8 * channel);
    }
    outColor = color;
    return true;
}

WideString formatColor(COLORREF color) {
    constexpr WideView digits = TEXT("0123456789ABCDEF");
    WideString text(7, TEXT('#'));
    for (unsigned channel = 0; channel < 3; ++channel) {
        text[1 + 2 * channel] = digits[color >> (8 * channel + 4) & 0xF];
        text[2 + 2 * channel] = digits[color >> (8 * channel) & 0xF];
    }
    return text;
}
