// JSON values, the parser and the writer. Objects keep their members in file order, numbers are doubles, text is UTF-16
// in memory. The parser is strict and bounded; its error texts and positions are part of the log. Nothing here keeps
// state: everything may run on any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/WideText.h"

enum class JsonKind : int { Null = 0, Bool = 1, Number = 2, String = 3, Array = 4, Object = 5 };

struct JsonMember;

// A value that owns its children. Only the field of its kind has a meaning. A value that was moved from is Null.
struct JsonValue {
    JsonKind kind = JsonKind::Null;
    bool boolValue = false;
    double numberValue = 0;
    WideString stringValue;
    std::vector<JsonValue> items;
    std::vector<JsonMember> members;  // in the order in which their keys were first set; keys are unique

    JsonValue();
    explicit JsonValue(bool value);
    explicit JsonValue(double value);
    explicit JsonValue(WideString value);
    JsonValue(const JsonValue& other);
    JsonValue& operator=(const JsonValue& other);
    JsonValue(JsonValue&& other) noexcept;
    JsonValue& operator=(JsonValue&& other) noexcept;
    ~JsonValue();

    // Reading never fails: what is not there is the shared Null, or the shared empty string.
    const JsonValue& find(WideView key) const;
    bool contains(WideView key) const;
    const WideString& asString() const;
    const JsonValue& at(std::size_t index) const;

    // These turn a value of another kind into an empty object, or array, first.
    void set(WideView key, JsonValue value);
    JsonValue& member(WideView key);
    void push(JsonValue value);
    // No effect where there is no such member.
    void erase(WideView key);
};

struct JsonMember {
    WideString key;
    JsonValue value;
};

inline JsonValue::JsonValue() = default;
inline JsonValue::JsonValue(bool value) : kind(JsonKind::Bool), boolValue(value) {}
inline JsonValue::JsonValue(double value) : kind(JsonKind::Number), numberValue(value) {}
inline JsonValue::JsonValue(WideString value) : kind(JsonKind::String), stringValue(std::move(value)) {}

// Read one whole document. False leaves "JSON parse error at line %d col %d: %s" in `outError` (which may be null) and
// an unusable `outValue`. Columns count UTF-16 units. Containers nest 65 deep, hold 1048576 elements each, and strings
// have about 16 million units at most.
bool parseJson(WideView text, JsonValue& outValue, WideString* outError);
// Takes the bytes of a file, with or without a byte order mark. Malformed UTF-8 becomes U+FFFD (see Text.h).
bool parseJsonUtf8(std::string_view bytes, JsonValue& outValue, WideString* outError);

// `pretty` puts each member on a line of its own, indented by two blanks. No final line feed. A number that JSON cannot
// tell (infinity) is written as null.
WideString serializeJson(const JsonValue& value, bool pretty);
std::string serializeJsonUtf8(const JsonValue& value, bool pretty);
