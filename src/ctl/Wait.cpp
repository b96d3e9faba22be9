// vellumctl wait: looks at the note's file five times a second, which works on every file system.
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Folders.h"
#include "ctl/NoteDocument.h"
#include "ctl/Request.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr DWORD kPauseMs = 200;

struct Texts {
    WideString title, content;
    bool operator==(const Texts&) const = default;
};

// Nothing for a file that is not a note: somebody is just writing it.
std::optional<Texts> textsOf(std::string_view bytes) {
    NoteRecord record;
    if (!parseNote(bytes, record, nullptr)) return std::nullopt;
    return Texts{std::move(record.title), std::move(record.content)};
}

// What the note was when the command last read it. A text that another program has written is where the user starts
// from.
struct Seen {
    FileTime writtenAt = 0;
    std::optional<Texts> texts;
};

// Whether the user has edited the note since the last look.
bool isEdited(const NoteFile& file, Seen& seen) {
    std::optional<Texts> now = textsOf(file.bytes);
    seen.writtenAt = file.writtenAt;
    if (!now || now == seen.texts) return false;  // moved or resized
    seen.texts = std::move(now);
    return isWrittenByProgram(file.bytes);
}

// Returns kDone, kDismissed or kTimedOut.
int watch(const NotesFolder& folder, const WaitRequest& request, Seen& seen) {
    const ULONGLONG start = GetTickCount64();
    for (;;) {
        const std::optional<FileTime> writtenAt = folder.writtenAt(request.id);
        if (!writtenAt) return kDismissed;
        if (*writtenAt != seen.writtenAt) {
            const std::optional<NoteFile> file = folder.read(request.id);
            if (!file) return kDismissed;
            if (isEdited(*file, seen)) return kDone;
        }
        const auto ms = static_cast<double>(GetTickCount64() - start);
        if (request.seconds && ms >= *request.seconds * 1000) return kTimedOut;
        Sleep(kPauseMs);
    }
}

}  // namespace

int run(const WaitRequest& request) {
    const NotesFolder folder = singleFolder(request.target, Missing::Skip);
    const std::optional<NoteFile> file = folder.read(request.id);
    if (!file) throw Failure{kNo, "no note " + wideToUtf8(request.id)};
    Seen seen{file->writtenAt, textsOf(file->bytes)};
    const int code = watch(folder, request, seen);
    if (code == kDone) printOut(wideToUtf8(seen.texts->content) + "\n");
    return code;
}

}  // namespace ctl
