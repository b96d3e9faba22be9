// Any bytes that hold a note: after reading, writing and reading again the record is equal.
#include <cstdint>
#include <cstdlib>

#include "notes/NoteRecord.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    JsonValue value;
    NoteRecord first, second;
    if (!parseJsonUtf8({reinterpret_cast<const char*>(data), size}, value, nullptr)) return 0;
    if (!noteFromJson(value, first)) return 0;
    const std::string written = serializeNote(first);
    if (written != serializeJsonUtf8(noteToJson(first), true)) std::abort();
    if (!parseJsonUtf8(written, value, nullptr) || !noteFromJson(std::move(value), second)) std::abort();
    if (serializeNote(second) != written) std::abort();
    return 0;
}
