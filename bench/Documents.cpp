#include "bench/Documents.h"

#include "common/UtcTime.h"

namespace {

NoteRecord plainNote() {
    NoteRecord note;
    note.id = TEXT("3f2b8c1e-7a44-4d0e-9b1a-5c6d7e8f9a0b");
    note.title = TEXT("Call back");
    note.content =
        TEXT("Driver installed.\nReboot pending. Ask for the serial number of the printer on the third floor.");
    note.author = TEXT("operator");
    parseUtcTime(TEXT("2026-03-14T09:26:53Z"), note.created);
    parseUtcTime(TEXT("2026-03-14T10:02:11Z"), note.modified);
    note.bgColor = 0x0000CCFF;
    note.hasPosition = true;
    note.x = 1480;
    note.y = 44;
    note.width = 300;
    note.height = 220;
    note.monitorDevice = TEXT("\\\\.\\DISPLAY1");
    note.monitorBounds = {0, 0, 1920, 1080};
    note.editable = note.allowNewNote = true;
    note.logo = TEXT("logo.png");
    return note;
}

NoteRecord richNote() {
    NoteRecord note = plainNote();
    note.contentRtf = TEXT("{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0{\\fonttbl{\\f0 Segoe UI;}}\r\n");
    for (int i = 0; note.contentRtf.size() < 12500; ++i)
        note.contentRtf +=
            TEXT("\\pard\\sl-240\\slmult1 \\lang1033\\fs19\\f0 Line \\b of\\b0  text with \\'e9 and \\u9733?\\par\r\n");
    note.contentRtf += TEXT("}");
    while (note.content.size() < 7500)
        note.content += TEXT(
            "Gr\u00FC\u00DFe, \u4F60\u597D \u05E9\u05DC\u05D5\u05DD and a line of plain text behind it, as people "
            "write.\n");
    return note;
}

NoteRecord logoNote() {
    NoteRecord note = plainNote();
    note.logo = TEXT("data:image/png;base64,");
    constexpr WideView alphabet = TEXT("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    unsigned state = 1;
    while (note.logo.size() < 2 * 1024 * 1024) {
        state = state * 1664525 + 1013904223;
        note.logo += alphabet[state >> 26];
    }
    return note;
}

}  // namespace

const std::vector<Document>& documents() {
    static const std::vector<Document> all = [] {
        std::vector<Document> made{{"plain", {}, plainNote()}, {"rich", {}, richNote()}, {"logo", {}, logoNote()}};
        for (Document& document : made)
            document.bytes = serializeNote(document.record);
        return made;
    }();
    return all;
}
