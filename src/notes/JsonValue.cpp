// JSON values in memory: reading and changing members and elements.
#include <algorithm>
#include <utility>

#include "notes/Json.h"

namespace {

const JsonValue& sharedNull() {
    static const JsonValue null;
    return null;
}

template <typename Members>
auto position(Members& members, WideView key) {
    return std::find_if(members.begin(), members.end(),
                        [key](const JsonMember& member) { return sameText(member.key, key); });
}

void become(JsonValue& value, JsonKind kind) {
    if (value.kind == kind) return;
    value = JsonValue();
    value.kind = kind;
}

}  // namespace

JsonValue::JsonValue(const JsonValue&) = default;
JsonValue::~JsonValue() = default;

JsonValue::JsonValue(JsonValue&& other) noexcept
    : kind(std::exchange(other.kind, JsonKind::Null)),
      boolValue(std::exchange(other.boolValue, false)),
      numberValue(std::exchange(other.numberValue, 0)),
      stringValue(std::exchange(other.stringValue, WideString())),
      items(std::exchange(other.items, {})),
      members(std::exchange(other.members, {})) {}

JsonValue& JsonValue::operator=(JsonValue&& other) noexcept {
    JsonValue taken(std::move(other));  // `other` may be a child of this value
    std::swap(kind, taken.kind);
    std::swap(boolValue, taken.boolValue);
    std::swap(numberValue, taken.numberValue);
    stringValue.swap(taken.stringValue);
    items.swap(taken.items);
    members.swap(taken.members);
    return *this;
}

JsonValue& JsonValue::operator=(const JsonValue& other) {
    JsonValue copy(other);  // `other` may be a child of this value
    return *this = std::move(copy);
}

const JsonValue& JsonValue::find(WideView key) const {
    if (kind != JsonKind::Object) return sharedNull();
    const auto found = position(members, key);
    return found == members.end() ? sharedNull() : found->value;
}

bool JsonValue::contains(WideView key) const {
    return kind == JsonKind::Object && position(members, key) != members.end();
}

const WideString& JsonValue::asString() const {
    static const WideString empty;
    return kind == JsonKind::String ? stringValue : empty;
}

const JsonValue& JsonValue::at(std::size_t index) const {
    return kind == JsonKind::Array && index < items.size() ? items[index] : sharedNull();
}

void JsonValue::set(WideView key, JsonValue value) {
    member(key) = std::move(value);
}

JsonValue& JsonValue::member(WideView key) {
    if (kind != JsonKind::Object) {
        WideString name(key);  // a copy: `key` may be a view of the discarded value
        become(*this, JsonKind::Object);
        members.push_back({std::move(name), JsonValue()});
        return members.back().value;
    }
    const auto found = position(members, key);
    if (found != members.end()) return found->value;
    members.push_back({WideString(key), JsonValue()});
    return members.back().value;
}

void JsonValue::push(JsonValue value) {
    become(*this, JsonKind::Array);
    items.push_back(std::move(value));
}

void JsonValue::erase(WideView key) {
    if (kind != JsonKind::Object) return;
    const auto found = position(members, key);
    if (found != members.end()) members.erase(found);
}
