// Any bytes: both ways of reading agree, and what was read, written and read again is the same.
#include <cstdint>
#include <cstdlib>

#include "notes/Json.h"
#include "notes/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    JsonValue direct, converted, again;
    WideString error, otherError;
    const bool ok = parseJsonUtf8(bytes, direct, &error);
    const WideString text = utf8ToWide(bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes);
    if (parseJson(text, converted, &otherError) != ok || error != otherError) std::abort();
    if (!ok) return 0;
    const WideString written = serializeJson(direct, true);
    if (serializeJson(converted, true) != written) std::abort();
    if (serializeJsonUtf8(direct, true) != wideToUtf8(written)) std::abort();
    // Infinity is written as null, and the largest integer by its odd rule, so the second text is the one that stays.
    if (!parseJson(written, again, nullptr)) std::abort();
    const WideString second = serializeJson(again, false);
    if (!parseJson(second, again, nullptr) || serializeJson(again, false) != second) std::abort();
    return 0;
}
