// vellumctl post.
#include "common/Identity.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Folders.h"
#include "ctl/NoteDocument.h"
#include "ctl/NoteLock.h"
#include "ctl/OwnSaves.h"
#include "ctl/Request.h"
#include "notes/FileIo.h"
#include "notes/Text.h"
#include "window/NoteText.h"

namespace ctl {
namespace {

// What the request's files and standard input hold, read before any note is touched.
struct Contents {
    std::optional<WideString> text, rtf, logo;
};

std::string readInputFile(const WideString& path) {
    std::string bytes;
    if (!readFileBytes(path, bytes)) throw lastFailure("cannot read", path);
    return bytes;
}

WideString encodeBase64(std::string_view bytes) {
    constexpr WideView kDigits = TEXT("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    WideString out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        unsigned group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            out += i <= count ? kDigits[group >> (18 - 6 * i) & 0x3F] : TEXT('=');
    }
    return out;
}

WideString readLogo(const WideString& path) {
    using namespace std::string_view_literals;
    constexpr std::string_view kFormats[] = {"\x89PNG\r\n\x1A\n"sv, "\xFF\xD8\xFF"sv, "BM"sv, "GIF8"sv};
    constexpr std::size_t kMostBytes = 8 << 20;
    const std::string bytes = readInputFile(path);
    const bool isImage = std::any_of(std::begin(kFormats), std::end(kFormats),
                                     [&](std::string_view format) { return bytes.starts_with(format); });
    if (!isImage) throw Failure{kUsage, "--logo: " + wideToUtf8(path) + " is not a PNG, JPEG, BMP or GIF image"};
    if (bytes.size() > kMostBytes) throw Failure{kUsage, "--logo: " + wideToUtf8(path) + " is larger than 8 MiB"};
    return encodeBase64(bytes);
}

WideString readRtf(const WideString& path) {
    const std::string bytes = readInputFile(path);
    if (!bytes.starts_with("{\\rtf"))
        throw Failure{kUsage, "--rtf: " + wideToUtf8(path) + " does not begin with {\\rtf"};
    return utf8ToWide(bytes);
}

// The last line end is the shell's, not the note's.
WideString readText() {
    WideString text = normalizeToLf(utf8ToWide(readInput()));
    if (text.ends_with(TEXT('\n'))) text.pop_back();
    return text;
}

Contents readContents(const PostRequest& request) {
    Contents contents;
    if (request.text) contents.text = normalizeToLf(*request.text);
    if (request.textFromInput) contents.text = readText();
    if (!request.rtfFile.empty()) contents.rtf = readRtf(request.rtfFile);
    if (!request.logoFile.empty()) contents.logo = readLogo(request.logoFile);
    return contents;
}

NoteRecord newRecord() {
    NoteRecord record = newNoteRecord(currentUserName());
    record.editable = false;
    return record;
}

void setPlace(const PostRequest& request, NoteRecord& record) {
    if (request.size && !request.at && !record.hasPosition)
        throw Failure{kUsage, "--size: the note has no place yet, so give --at as well"};
    if (request.at) {
        record.x = request.at->x;
        record.y = request.at->y;
        record.hasPosition = true;
    }
    if (request.size) {
        record.width = request.size->width;
        record.height = request.size->height;
    }
}

template <typename Value>
void replace(Value& value, const std::optional<Value>& given) {
    if (given) value = *given;
}

void apply(const PostRequest& request, const Contents& contents, NoteRecord& record) {
    replace(record.title, request.title);
    replace(record.author, request.author);
    replace(record.bgColor, request.color);
    replace(record.editable, request.editable);
    replace(record.allowNewNote, request.newNote);
    replace(record.logo, contents.logo);
    if (contents.text || contents.rtf) {  // Rich Text would hide a new text, and outdated text mislead readers
        record.content = contents.text.value_or(WideString());
        record.contentRtf = contents.rtf.value_or(WideString());
    }
    setPlace(request, record);
    GetSystemTime(&record.modified);
}

// Vellumd has perhaps saved a note of this id a moment ago, before the user closed it. Then it does not see the new
// file: when that time is over, writes the same once more.
void writeAgainIfIgnored(const NotesFolder& folder, const WideString& id, const std::string& bytes, DWORD ms) {
    if (ms == 0) return;
    Sleep(ms);
    const std::optional<NoteFile> file = folder.read(id);
    if (file && file->bytes == bytes) folder.write(id, bytes);
}

void postTo(const NotesFolder& folder, const PostRequest& request, const Contents& contents, const WideString& id) {
    const NoteLock lock(folder.pathOf(id));
    const bool mayBeIgnored = request.waits && !request.id.empty();
    if (mayBeIgnored) waitForOwnSave(folder, id);
    const std::optional<NoteFile> file = folder.read(id);
    NoteRecord record;
    if (!file || !parseNote(file->bytes, record, nullptr)) record = newRecord();
    record.id = id;
    apply(request, contents, record);
    const DWORD ignoredMs = mayBeIgnored && !file ? ignoredForMs(folder.lastRemovalAt()) : 0;
    const std::string bytes = formatNote(record);
    folder.write(id, bytes);
    writeAgainIfIgnored(folder, id, bytes, ignoredMs);
}

}  // namespace

int run(const PostRequest& request) {
    const Contents contents = readContents(request);
    const WideString id = request.id.empty() ? newGuidText() : request.id;
    if (id.empty()) throw Failure{kFailed, "the system gives no identifier for a new note"};
    const int code = forEachFolder(request.target, Missing::Make,
                                   [&](const NotesFolder& folder) { postTo(folder, request, contents, id); });
    printOut(wideToUtf8(id) + "\n");
    return code;
}

}  // namespace ctl
