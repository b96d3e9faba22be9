#include "ctl/OwnSaves.h"

#include "app/OwnWrites.h"
#include "ctl/Failure.h"
#include "ctl/NoteDocument.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr DWORD kWaitMs = static_cast<DWORD>(OwnWrites::kIgnoreMs) + 200;  // file times can lag by a tick

}  // namespace

DWORD ignoredForMs(FileTime time) {
    const FileTime now = timeNow();
    const FileTime age = now > time ? (now - time) / kTicksOfMs : 0;  // a server's clock may be ahead
    return age < kWaitMs ? kWaitMs - static_cast<DWORD>(age) : 0;
}

void waitForOwnSave(const NotesFolder& folder, const WideString& id) {
    constexpr int kMostSaves = 10;
    FileTime waitedFor = 0;
    for (int saves = 0; saves < kMostSaves; ++saves) {
        const std::optional<NoteFile> file = folder.read(id);
        if (!file || file->writtenAt == waitedFor || !isWrittenByProgram(file->bytes)) return;
        const DWORD ms = ignoredForMs(file->writtenAt);
        if (ms == 0) return;
        Sleep(ms);
        waitedFor = file->writtenAt;
    }
    throw Failure{kFailed, "note " + wideToUtf8(id) + " is being edited; try again, or use --no-wait"};
}

}  // namespace ctl
