// The note's JSON document: reading, writing and default values.
//
// There are two ways to write a note. noteToJson builds a tree of values. serializeNote is the fast path, which every
// save takes: it writes the text directly, because a tree needs an allocation for each member. Both call describe().
// The test NoteRecord.filesOfTheFormatReadAndWriteBack and fuzz/note.cpp check that both give the same bytes.
#include "notes/NoteRecord.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "common/Identity.h"
#include "common/UtcTime.h"
#include "notes/FileIo.h"
#include "notes/JsonWriter.h"

namespace {

// The keys of the file.
namespace keys {
constexpr WideView id = TEXT("id");
constexpr WideView title = TEXT("title");
constexpr WideView content = TEXT("content");
constexpr WideView contentRtf = TEXT("contentRtf");
constexpr WideView author = TEXT("author");
constexpr WideView created = TEXT("created");
constexpr WideView modified = TEXT("modified");
constexpr WideView bgColor = TEXT("bgColor");
constexpr WideView titleBarBGColor = TEXT("titleBarBGColor");
constexpr WideView noteTitleColor = TEXT("noteTitleColor");
constexpr WideView noteBodyColor = TEXT("noteBodyColor");
constexpr WideView position = TEXT("position");
constexpr WideView x = TEXT("x");
constexpr WideView y = TEXT("y");
constexpr WideView width = TEXT("width");
constexpr WideView height = TEXT("height");
constexpr WideView monitor = TEXT("monitor");
constexpr WideView device = TEXT("device");
constexpr WideView bounds = TEXT("bounds");
constexpr WideView left = TEXT("left");
constexpr WideView top = TEXT("top");
constexpr WideView right = TEXT("right");
constexpr WideView bottom = TEXT("bottom");
constexpr WideView editable = TEXT("editable");
constexpr WideView allowNewNote = TEXT("allowNewNote");
constexpr WideView logo = TEXT("logo");
}  // namespace keys

// Rounds towards zero. A number that does not fit becomes INT32_MIN, like the processor's own conversion.
LONG truncated(double number) {
    const double whole = std::trunc(number);
    return whole >= -2147483648.0 && whole <= 2147483647.0 ? static_cast<LONG>(whole) : INT32_MIN;
}

// Finds members of an object. Each search starts after the last hit, because a file that this program wrote has its
// members in the order in which they are read.
class Members {
  public:
    explicit Members(JsonValue& object) : members_(object.members) {}

    // Null when the member is missing.
    JsonValue* find(WideView key) {
        for (std::size_t tried = 0; tried < members_.size(); ++tried) {
            if (next_ == members_.size()) next_ = 0;
            JsonMember& member = members_[next_++];
            if (sameText(member.key, key)) return &member.value;
        }
        return nullptr;
    }
    // Null when the member is missing or not an object.
    JsonValue* findObject(WideView key) {
        JsonValue* const value = find(key);
        return value != nullptr && value->kind == JsonKind::Object ? value : nullptr;
    }
    // Moves the text out of the member; empty when it is missing or not a string.
    WideString takeText(WideView key) {
        JsonValue* const value = find(key);
        const bool isText = value != nullptr && value->kind == JsonKind::String;
        return isText ? std::move(value->stringValue) : WideString();
    }
    const WideString& text(WideView key) {
        static const WideString empty;
        const JsonValue* const value = find(key);
        return value == nullptr ? empty : value->asString();
    }
    bool flag(WideView key) {
        const JsonValue* const value = find(key);
        return value != nullptr && value->kind == JsonKind::Bool && value->boolValue;
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
    parseColor(members.text(keys::bgColor), record.bgColor);
    record.titleBarBGColorSet = parseColor(members.text(keys::titleBarBGColor), record.titleBarBGColor);
    parseColor(members.text(keys::noteTitleColor), record.noteTitleColor);
    parseColor(members.text(keys::noteBodyColor), record.noteBodyColor);
}

void readPosition(Members members, NoteRecord& record) {
    record.hasPosition = true;
    record.x = members.number(keys::x, record.x);
    record.y = members.number(keys::y, record.y);
    record.width = members.number(keys::width, record.width);
    record.height = members.number(keys::height, record.height);
}

RECT readBounds(Members members) {
    const LONG left = members.number(keys::left, 0), top = members.number(keys::top, 0);
    return {left, top, members.number(keys::right, 0), members.number(keys::bottom, 0)};
}

void readPlace(Members& members, NoteRecord& record) {
    if (JsonValue* const position = members.findObject(keys::position)) readPosition(Members(*position), record);
    record.width = std::clamp(record.width, kLeastWidth, kLargestExtent);
    record.height = std::clamp(record.height, kLeastHeight, kLargestExtent);
    if (JsonValue* const monitor = members.findObject(keys::monitor)) {
        Members inner(*monitor);
        record.monitorDevice = inner.takeText(keys::device);
        if (JsonValue* const bounds = inner.findObject(keys::bounds))
            record.monitorBounds = readBounds(Members(*bounds));
    }
}

// Passes the members of a note's document to `out`, in the order of the file. Both ways of writing call it.
template <typename Out>
void describe(const NoteRecord& record, Out& out) {
    out.text(keys::id, record.id);
    out.text(keys::title, record.title);
    out.text(keys::content, record.content);
    if (!record.contentRtf.empty()) out.text(keys::contentRtf, record.contentRtf);
    out.text(keys::author, record.author);
    out.text(keys::created, formatUtcTime(record.created));
    out.text(keys::modified, formatUtcTime(record.modified));
    if (record.bgColor != kDefaultNoteColor) out.text(keys::bgColor, formatColor(record.bgColor));
    if (record.titleBarBGColorSet) out.text(keys::titleBarBGColor, formatColor(record.titleBarBGColor));
    if (record.noteTitleColor != kDefaultTextColor) out.text(keys::noteTitleColor, formatColor(record.noteTitleColor));
    if (record.noteBodyColor != kDefaultTextColor) out.text(keys::noteBodyColor, formatColor(record.noteBodyColor));
    out.open(keys::position);
    out.number(keys::x, record.x);
    out.number(keys::y, record.y);
    out.number(keys::width, record.width);
    out.number(keys::height, record.height);
    out.close();
    out.open(keys::monitor);
    out.text(keys::device, record.monitorDevice);
    out.open(keys::bounds);
    out.number(keys::left, record.monitorBounds.left);
    out.number(keys::top, record.monitorBounds.top);
    out.number(keys::right, record.monitorBounds.right);
    out.number(keys::bottom, record.monitorBounds.bottom);
    out.close();
    out.close();
    out.flag(keys::editable, record.editable);
    if (record.allowNewNote) out.flag(keys::allowNewNote, true);
    if (!record.logo.empty()) out.text(keys::logo, record.logo);
}

// Makes a JsonValue of the members.
class ValueBuilder {
  public:
    explicit ValueBuilder(JsonValue& document) : open_{&document} {}
    void text(WideView key, const WideString& text) { open_.back()->set(key, JsonValue(text)); }
    void number(WideView key, LONG number) { open_.back()->set(key, JsonValue(static_cast<double>(number))); }
    void flag(WideView key, bool flag) { open_.back()->set(key, JsonValue(flag)); }
    void open(WideView key) { open_.push_back(&open_.back()->member(key)); }
    void close() { open_.pop_back(); }

  private:
    std::vector<JsonValue*> open_;  // valid pointers: a value gets no new member while a member of it is open
};

// Writes the members directly as text: about three times as fast as building a tree of values first.
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
    if (value.find(keys::id).asString().empty()) return false;
    return noteFromJson(JsonValue(value), outRecord);
}

bool noteFromJson(JsonValue&& value, NoteRecord& outRecord) {
    if (value.find(keys::id).asString().empty()) return false;
    Members members(value);
    outRecord = NoteRecord();
    outRecord.id = members.takeText(keys::id);
    outRecord.title = members.takeText(keys::title);
    outRecord.content = members.takeText(keys::content);
    outRecord.contentRtf = members.takeText(keys::contentRtf);
    outRecord.author = members.takeText(keys::author);
    if (!parseUtcTime(members.text(keys::created), outRecord.created)) outRecord.created = now();
    if (!parseUtcTime(members.text(keys::modified), outRecord.modified)) outRecord.modified = outRecord.created;
    readColors(members, outRecord);
    readPlace(members, outRecord);
    outRecord.editable = members.flag(keys::editable);
    outRecord.allowNewNote = members.flag(keys::allowNewNote);
    outRecord.logo = members.takeText(keys::logo);
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
    // Escapes and non-ASCII characters take more room; the string then grows once or twice.
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
    for (unsigned channel = 0; channel < 3; ++channel) {  // red is first in the text and lowest in a COLORREF
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
