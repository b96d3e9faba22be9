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

class Watch {
  public:
    explicit Watch(const NoteFile& file)
        : writtenAt_(file.writtenAt), bytes_(file.bytes), texts_(textsOf(file.bytes)) {}

    // Whether the user has edited the note since the last look. A text that another program has written is where the
    // user starts from.
    bool isEdited(const NoteFile& file) {
        if (file.writtenAt == writtenAt_ && file.bytes == bytes_) return false;
        writtenAt_ = file.writtenAt;
        bytes_ = file.bytes;
        std::optional<Texts> now = textsOf(file.bytes);
        if (!now || now == texts_) return false;  // moved or resized
        texts_ = std::move(now);
        return isWrittenByProgram(bytes_);
    }
    const WideString& content() const { return texts_->content; }

  private:
    FileTime writtenAt_;
    std::string bytes_;
    std::optional<Texts> texts_;
};

// Returns kDone, kDismissed or kTimedOut.
int watch(const NotesFolder& folder, const WaitRequest& request, Watch& watch) {
    const ULONGLONG start = GetTickCount64();
    for (;;) {
        const std::optional<NoteFile> file = folder.read(request.id);
        if (!file) return kDismissed;
        if (watch.isEdited(*file)) return kDone;
        if (request.seconds && static_cast<double>(GetTickCount64() - start) >= *request.seconds * 1000)
            return kTimedOut;
        Sleep(kPauseMs);
    }
}

}  // namespace

int run(const WaitRequest& request) {
    const NotesFolder folder = singleFolder(request.target, Missing::Skip);
    const std::optional<NoteFile> file = folder.read(request.id);
    if (!file) throw Failure{kNo, "no note " + wideToUtf8(request.id)};
    Watch state(*file);
    const int code = watch(folder, request, state);
    if (code == kDone) printOut(wideToUtf8(state.content()) + "\n");
    return code;
}

}  // namespace ctl
