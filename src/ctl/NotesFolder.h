// The files of one notes folder. Every function throws Failure when a call of the system fails for good; a file that
// another program is using just now is tried again for two seconds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "applet/OwnedHandle.h"
#include "common/WideText.h"

namespace ctl {

using FileTime = ULONGLONG;  // in 100 ns, as FILETIME counts
constexpr FileTime kTicksOfMs = 10000;

FileTime timeNow();

struct NoteFile {
    std::string bytes;
    FileTime writtenAt = 0;
};

class NotesFolder {
  public:
    // `held` are handles that keep the folders on the way from being renamed or exchanged; with any, links are refused.
    // `owner` names the user in messages; empty for the user who runs the command.
    // `isNew` says that it did not exist before.
    NotesFolder(WideString path, std::vector<AppletNotes::OwnedHandle> held, std::string owner, bool isNew = false)
        : path_(std::move(path)), held_(std::move(held)), owner_(std::move(owner)), isNew_(isNew) {}

    const WideString& path() const { return path_; }
    const std::string& owner() const { return owner_; }
    WideString pathOf(WideView id) const;

    // Nothing when there is no such note.
    std::optional<NoteFile> read(const WideString& id) const;
    // The time of its last write, without opening it: a save of Vellumd fails while another program has the file open.
    std::optional<FileTime> writtenAt(const WideString& id) const;
    // Replaces the whole file: a reader sees the old note or the new one.
    void write(const WideString& id, std::string_view bytes) const;
    // False when there is no such note.
    bool remove(const WideString& id) const;

    // The ids of the note files, sorted.
    std::vector<WideString> ids() const;
    // When a file was last taken out of the folder, as far as the times of the folder and its notes show it; 0 when the
    // last change was the arrival of a note.
    FileTime lastRemovalAt() const;

  private:
    template <typename Use>
    void forEachFile(Use use) const;

    WideString path_;
    std::vector<AppletNotes::OwnedHandle> held_;
    std::string owner_;
    bool isNew_;
};

}  // namespace ctl
