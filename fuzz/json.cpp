// Any bytes: the UTF-8 and the UTF-16 parser agree, and a second round of writing and reading changes nothing.
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
    // The first round may change infinity (to null) and 2^63 (to -2^63): so compare the second text with the third.
    if (!parseJson(written, again, nullptr)) std::abort();
    const WideString second = serializeJson(again, false);
    if (!parseJson(second, again, nullptr) || serializeJson(again, false) != second) std::abort();
    return 0;
}
