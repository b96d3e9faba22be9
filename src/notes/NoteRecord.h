// The note in memory, and its JSON file. Other programs write such a file to show a note; this program writes it when
// the user changes the note.
//
// Reading is lenient: a document is refused only if it is not an object or has no non-empty string "id". Any other
// member that is missing or has the wrong type takes its default; unknown keys are dropped. Writing leaves out default
// values.
#pragma once

#include <string>
#include <string_view>

#include "common/WideText.h"
#include "notes/Json.h"

constexpr COLORREF kDefaultNoteColor = 0x004DEBFE;  // red FE, green EB, blue 4D
constexpr COLORREF kDefaultTextColor = 0x001E1E1E;

// Limits of a window's size, in pixels; a stored size beyond them takes the nearest limit.
constexpr LONG kLeastWidth = 120, kLeastHeight = 100, kLargestExtent = 8000;

struct NoteRecord {
    WideString id;  // not empty in a record that was read; the file is named after it
    WideString title;
    WideString content;     // the body as plain text
    WideString contentRtf;  // the body as Rich Text; empty if the file has none
    WideString author;
    SYSTEMTIME created = {};  // UTC
    SYSTEMTIME modified = {};
    COLORREF bgColor = kDefaultNoteColor;
    COLORREF titleBarBGColor = kDefaultNoteColor;  // used only if the next field is set
    bool titleBarBGColorSet = false;               // otherwise the window derives the colour from bgColor
    COLORREF noteTitleColor = kDefaultTextColor;
    COLORREF noteBodyColor = kDefaultTextColor;
    LONG x = 0;  // place of the window, in pixels of the virtual screen
    LONG y = 0;
    LONG width = 260;
    LONG height = 260;
    bool hasPosition = false;  // the four fields above are a stored place
    WideString monitorDevice;  // the last monitor of the window, such as \\.\DISPLAY1
    RECT monitorBounds = {};
    bool editable = false;
    bool allowNewNote = false;
    WideString logo;  // name of an image file, or the image itself as text
};

// On failure they set `outError`, which may be null. loadNoteFile: "cannot read file", the parser's message or "invalid
// note structure"; `outRecord` is unchanged. saveNoteFile: "cannot write file"; the file is unchanged (see FileIo.h).
bool loadNoteFile(const WideString& path, NoteRecord& outRecord, WideString* outError);
bool saveNoteFile(const WideString& path, const NoteRecord& record, WideString* outError);

// False, with `outRecord` unchanged, for a value without an id. The second form moves the texts out of the value.
bool noteFromJson(const JsonValue& value, NoteRecord& outRecord);
bool noteFromJson(JsonValue&& value, NoteRecord& outRecord);
JsonValue noteToJson(const NoteRecord& record);

// The text of the note's file. The same bytes as serializeJsonUtf8(noteToJson(record), true), without building the
// value tree.
std::string serializeNote(const NoteRecord& record);

// An editable record with a new id, created now by `author`. The id is empty when the system gives no GUID.
NoteRecord newNoteRecord(const WideString& author);

// Accepts "#RRGGBB" and "#RGB" in either case only. False leaves `outColor` unchanged.
bool parseColor(WideView text, COLORREF& outColor);
// "#RRGGBB" in upper case.
WideString formatColor(COLORREF color);
