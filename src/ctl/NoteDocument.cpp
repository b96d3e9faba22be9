#include "ctl/NoteDocument.h"

namespace ctl {

bool parseNote(std::string_view bytes, NoteRecord& record, WideString* reason) {
    JsonValue value;
    if (!parseJsonUtf8(bytes, value, reason)) return false;
    if (noteFromJson(std::move(value), record)) return true;
    if (reason != nullptr) *reason = TEXT("invalid note structure");
    return false;
}

JsonValue documentOf(const NoteRecord& record) {
    JsonValue document = noteToJson(record);
    if (!record.hasPosition) {
        document.erase(TEXT("position"));
        document.erase(TEXT("monitor"));
    }
    return document;
}

std::string formatNote(const NoteRecord& record) {
    return serializeJsonUtf8(documentOf(record), true) + "\n";
}

bool isWrittenByProgram(std::string_view bytes) {
    NoteRecord record;
    return parseNote(bytes, record, nullptr) && serializeNote(record) == bytes;
}

}  // namespace ctl
