// JSON values, a strict parser with limits, and a writer. Objects keep the order of their members, numbers are doubles,
// text in memory is UTF-16. The parser's error texts go to the log. No global state: any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/WideText.h"

enum class JsonKind : int { Null = 0, Bool = 1, Number = 2, String = 3, Array = 4, Object = 5 };

struct JsonMember;

// A value owns its children. Only the field that belongs to `kind` has a meaning. A moved-from value is Null.
struct JsonValue {
    JsonKind kind = JsonKind::Null;
    bool boolValue = false;
    double numberValue = 0;
    WideString stringValue;
    std::vector<JsonValue> items;
    std::vector<JsonMember> members;  // in the order of the first set; keys are unique

    JsonValue();
    explicit JsonValue(bool value);
    explicit JsonValue(double value);
    explicit JsonValue(WideString value);
    JsonValue(const JsonValue& other);
    JsonValue& operator=(const JsonValue& other);
    JsonValue(JsonValue&& other) noexcept;
    JsonValue& operator=(JsonValue&& other) noexcept;
    ~JsonValue();

    // Reading never fails: a missing value is the shared Null value, a missing string the shared empty string.
    const JsonValue& find(WideView key) const;
    bool contains(WideView key) const;
    const WideString& asString() const;
    const JsonValue& at(std::size_t index) const;

    // These replace a value of another kind by an empty object or array first.
    void set(WideView key, JsonValue value);
    JsonValue& member(WideView key);
    void push(JsonValue value);
    // Does nothing when the member is missing.
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

// Parse one document. On failure they set `outError`, which may be null, to "JSON parse error at line %d col %d: %s";
// `outValue` is then unspecified. Columns count UTF-16 units. Limits: 65 levels of nesting, 1048576 elements in a
// container, about 16 million units in a string.
bool parseJson(WideView text, JsonValue& outValue, WideString* outError);
// Parses UTF-8, with or without a byte order mark. Malformed UTF-8 becomes U+FFFD (see Text.h).
bool parseJsonUtf8(std::string_view bytes, JsonValue& outValue, WideString* outError);

// `pretty` puts each member on its own line, indented by two blanks for each level; no line feed at the end. Infinity
// and NaN, which JSON does not have, are written as null.
WideString serializeJson(const JsonValue& value, bool pretty);
std::string serializeJsonUtf8(const JsonValue& value, bool pretty);
