// The note in memory, and its form as a JSON file: one UTF-8 document, which programs drop to show a note and which
// is written back when the user changes it.
//
// The reader forgives: a document is refused only if it is no object or has no non-empty string "id". Whatever else is
// missing or of the wrong type takes its default, and unknown keys are dropped. The writer leaves out what is default.
#pragma once

#include <string>
#include <string_view>

#include "common/WideText.h"
#include "notes/Json.h"

constexpr COLORREF kDefaultNoteColor = 0x004DEBFE;  // red FE, green EB, blue 4D
constexpr COLORREF kDefaultTextColor = 0x001E1E1E;

struct NoteRecord {
    WideString id;  // never empty in a record that was read; on disk the stem of the file name
    WideString title;
    WideString content;     // the body as plain text
    WideString contentRtf;  // the body as Rich Text, if there is any
    WideString author;
    SYSTEMTIME created = {};  // UTC
    SYSTEMTIME modified = {};
    COLORREF bgColor = kDefaultNoteColor;
    COLORREF titleBarBGColor = kDefaultNoteColor;  // counts only if the next field is set
    bool titleBarBGColorSet = false;               // else the window derives the colour
    COLORREF noteTitleColor = kDefaultTextColor;
    COLORREF noteBodyColor = kDefaultTextColor;
    LONG x = 0;  // of the window, in pixels of the virtual screen
    LONG y = 0;
    LONG width = 260;
    LONG height = 260;
    bool hasPosition = false;  // the four above are a real place
    WideString monitorDevice;  // the monitor that the window was on last, such as \\.\DISPLAY1
    RECT monitorBounds = {};
    bool editable = false;
    bool allowNewNote = false;
    WideString logo;  // name of an image file, or the image itself as text
};

// Both leave their reason in `outError`, which may be null: "cannot read file", the parser's message or "invalid note
// structure"; "cannot write file". A failed load leaves `outRecord` as it was, a failed save the file (see FileIo.h).
bool loadNoteFile(const WideString& path, NoteRecord& outRecord, WideString* outError);
bool saveNoteFile(const WideString& path, const NoteRecord& record, WideString* outError);

// False, with `outRecord` untouched, for a value that is no note. The second form takes the texts out of the value.
bool noteFromJson(const JsonValue& value, NoteRecord& outRecord);
bool noteFromJson(JsonValue&& value, NoteRecord& outRecord);
JsonValue noteToJson(const NoteRecord& record);

// The text of the note's file: what serializeJsonUtf8 makes, pretty, of noteToJson, without the value between.
std::string serializeNote(const NoteRecord& record);

// A record with a fresh id, made now by `author`, editable.
NoteRecord newNoteRecord(const WideString& author);

// "#RRGGBB" or "#RGB" in either case, nothing else. False leaves the colour alone.
bool parseColor(WideView text, COLORREF& outColor);
// "#RRGGBB" in capitals.
WideString formatColor(COLORREF color);
