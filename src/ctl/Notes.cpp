// vellumctl remove, list and show.
#include "common/UtcTime.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Folders.h"
#include "ctl/NoteDocument.h"
#include "ctl/NoteLock.h"
#include "ctl/OwnSaves.h"
#include "ctl/Request.h"
#include "notes/Text.h"

namespace ctl {
namespace {

// As Vellumd reads it: the name of the file is the id.
std::optional<NoteRecord> readNote(const NotesFolder& folder, const WideString& id) {
    NoteRecord record;
    WideString reason;
    const std::optional<NoteFile> file = folder.read(id);
    if (!file) return std::nullopt;
    if (!parseNote(file->bytes, record, &reason))
        throw Failure{kNo, wideToUtf8(folder.pathOf(id)) + " is not a note: " + wideToUtf8(reason)};
    if (!equalsIgnoreCase(record.id, id)) record.id = id;
    return record;
}

// Reads all notes; says on standard error which files are not notes.
std::vector<NoteRecord> readAll(const NotesFolder& folder) {
    std::vector<NoteRecord> notes;
    for (const WideString& id : folder.ids()) {
        try {
            if (std::optional<NoteRecord> note = readNote(folder, id)) notes.push_back(std::move(*note));
        } catch (const Failure& failure) {
            printError(failure.text);
        }
    }
    return notes;
}

// One line of a table: no line ends, no tabs, not longer than a few words.
std::string cell(const WideString& text) {
    constexpr std::size_t kMostUnits = 60;
    WideString line = text.substr(0, kMostUnits);
    for (WCHAR& unit : line)
        if (unit < 0x20) unit = TEXT(' ');
    if (text.size() > kMostUnits) line += TEXT("...");
    return wideToUtf8(line);
}

std::string rowOf(const NotesFolder& folder, const NoteRecord& note) {
    const std::string user = folder.owner().empty() ? "" : folder.owner() + "\t";
    return user + wideToUtf8(note.id) + "\t" + wideToUtf8(formatUtcTime(note.modified)) + "\t" + cell(note.title) +
           "\t" + cell(note.content) + "\n";
}

JsonValue itemOf(const NotesFolder& folder, const NoteRecord& note) {
    JsonValue item = documentOf(note);
    if (!folder.owner().empty()) item.set(TEXT("user"), JsonValue(utf8ToWide(folder.owner())));
    return item;
}

// Line ends of the text stay; a console shows nothing else that is not text.
std::string detailsOf(const NoteRecord& note) {
    const auto line = [](const char* name, const WideString& value) {
        return value.empty() ? "" : name + wideToUtf8(value) + "\n";
    };
    std::string out = line("id:       ", note.id) + line("title:    ", note.title) + line("author:   ", note.author) +
                      line("created:  ", formatUtcTime(note.created)) +
                      line("modified: ", formatUtcTime(note.modified));
    if (note.hasPosition)
        out += "place:    " + std::to_string(note.x) + "," + std::to_string(note.y) + ", size " +
               std::to_string(note.width) + "," + std::to_string(note.height) + "\n";
    out += std::string("editable: ") + (note.editable ? "yes" : "no") + "\n";
    return out + "\n" + wideToUtf8(note.content) + "\n";
}

bool removeFrom(const NotesFolder& folder, const WideString& id, bool waits) {
    const NoteLock lock(folder.pathOf(id));
    if (waits) waitForOwnSave(folder, id);
    return folder.remove(id);
}

}  // namespace

int run(const RemoveRequest& request) {
    std::vector<WideString> missing = request.ids;
    const int code = forEachFolder(request.target, Missing::Skip, [&](const NotesFolder& folder) {
        for (const WideString& id : request.ids)
            if (removeFrom(folder, id, request.waits)) std::erase(missing, id);
    });
    for (const WideString& id : missing)
        printError("no note " + wideToUtf8(id));
    return code == kDone && !missing.empty() ? int{kNo} : code;
}

int run(const ListRequest& request) {
    std::string rows;
    JsonValue items;
    items.kind = JsonKind::Array;
    const int code = forEachFolder(request.target, Missing::Skip, [&](const NotesFolder& folder) {
        for (const NoteRecord& note : readAll(folder)) {
            if (request.asJson)
                items.push(itemOf(folder, note));
            else
                rows += rowOf(folder, note);
        }
    });
    printOut(request.asJson ? serializeJsonUtf8(items, true) + "\n" : rows);
    return code;
}

int run(const ShowRequest& request) {
    const NotesFolder folder = singleFolder(request.target, Missing::Skip);
    const std::optional<NoteRecord> note = readNote(folder, request.id);
    if (!note) throw Failure{kNo, "no note " + wideToUtf8(request.id)};
    printOut(detailsOf(*note));
    return kDone;
}

}  // namespace ctl
