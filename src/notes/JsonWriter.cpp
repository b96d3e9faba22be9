// Serializes a JSON value with JsonWriter, as UTF-16 or UTF-8.
#include "notes/JsonWriter.h"

#include "notes/Json.h"

namespace {

template <typename Text>
void write(JsonWriter<Text>& writer, const JsonValue& value) {
    switch (value.kind) {
        case JsonKind::Null:
            return writer.null();
        case JsonKind::Bool:
            return writer.value(value.boolValue);
        case JsonKind::Number:
            return writer.value(value.numberValue);
        case JsonKind::String:
            return writer.value(WideView(value.stringValue));
        case JsonKind::Array:
            writer.open('[');
            for (const JsonValue& item : value.items) {
                writer.element();
                write(writer, item);
            }
            return writer.close(']');
        case JsonKind::Object:
            writer.open('{');
            for (const JsonMember& member : value.members) {
                writer.key(member.key);
                write(writer, member.value);
            }
            return writer.close('}');
    }
}

// An estimate of the length of the text, so that the string grows once.
std::size_t expectedLength(const JsonValue& value) {
    std::size_t length = 32 + value.stringValue.size() + value.stringValue.size() / 16;
    for (const JsonValue& item : value.items)
        length += expectedLength(item);
    for (const JsonMember& member : value.members)
        length += member.key.size() + expectedLength(member.value);
    return length;
}

template <typename Text>
Text serialize(const JsonValue& value, bool pretty) {
    Text out;
    out.reserve(expectedLength(value));
    JsonWriter<Text> writer(out, pretty);
    write(writer, value);
    return out;
}

}  // namespace

WideString serializeJson(const JsonValue& value, bool pretty) {
    return serialize<WideString>(value, pretty);
}

std::string serializeJsonUtf8(const JsonValue& value, bool pretty) {
    return serialize<std::string>(value, pretty);
}
