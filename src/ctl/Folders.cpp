#include "ctl/Folders.h"

#include "app/InstanceNames.h"
#include "applet/StoreFiles.h"
#include "common/Folders.h"
#include "common/Paths.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Profiles.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr const WCHAR* kBelowProfile[] = {TEXT("AppData"), TEXT("Local"), TEXT("Quorvane"), TEXT("Ombrel"),
                                          TEXT("Notes")};

bool isOfOtherUsers(const Target& target) {
    return target.allUsers || target.newUsers || !target.user.empty();
}

std::optional<NotesFolder> ownFolder(const Target& target, Missing missing) {
    WideString path = target.folder.empty() ? defaultNotesFolder() : target.folder;
    if (path.empty()) throw Failure{kFailed, "this user has no folder for local application data; name one: --folder"};
    if (!target.instance.empty()) path = joinPath(path, instanceFolder(target.instance));
    const bool isNew = !isFolder(path);
    if (missing == Missing::Skip && isNew) return std::nullopt;
    if (!createDirectoryTree(path)) throw lastFailure("cannot make the folder", path);
    return NotesFolder(path, {}, "", isNew);
}

// Opens `path`, which it makes when that is asked for; `isNew` says that it did. Empty when it is missing.
AppletNotes::OwnedHandle holdFolder(const WideString& path, Missing missing, bool& isNew) {
    isNew = missing == Missing::Make && CreateDirectoryW(path.c_str(), nullptr);
    if (missing == Missing::Make && !isNew) {
        const DWORD error = GetLastError();
        if (error != ERROR_ALREADY_EXISTS) throw systemFailure("cannot make the folder " + wideToUtf8(path), error);
    }
    DWORD error = ERROR_SUCCESS;
    AppletNotes::OwnedHandle folder = AppletNotes::openDirectory(path, 0, nullptr, error);
    if (folder) return folder;
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return folder;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    const bool isLink = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (isLink)
        throw Failure{kFailed, wideToUtf8(path) + " is a link, which is not followed in another user's profile"};
    throw systemFailure("cannot open the folder " + wideToUtf8(path), error);
}

std::optional<NotesFolder> folderIn(const Profile& profile, const WideString& instance, Missing missing) {
    std::vector<AppletNotes::OwnedHandle> held;
    WideString path = profile.folder;
    bool isNew = false;
    const auto enter = [&](Missing how) {
        held.push_back(holdFolder(path, how, isNew));
        return static_cast<bool>(held.back());
    };
    if (!enter(Missing::Skip)) throw systemFailure("cannot open the profile " + wideToUtf8(path), ERROR_PATH_NOT_FOUND);
    for (const WCHAR* name : kBelowProfile) {
        path = joinPath(path, name);
        if (!enter(missing)) return std::nullopt;
    }
    if (!instance.empty()) {
        path = joinPath(path, instanceFolder(instance));
        if (!enter(missing)) return std::nullopt;
    }
    return NotesFolder(path, std::move(held), profile.name, isNew);
}

std::vector<Profile> profilesOf(const Target& target) {
    std::vector<Profile> profiles;
    if (target.allUsers) profiles = allProfiles();
    if (!target.user.empty()) profiles.push_back(profileOf(target.user));
    if (target.newUsers) profiles.push_back(profileOfNewUsers());
    return profiles;
}

}  // namespace

int forEachFolder(const Target& target, Missing missing, const std::function<void(NotesFolder&)>& use) {
    if (!isOfOtherUsers(target)) {
        if (std::optional<NotesFolder> folder = ownFolder(target, missing)) use(*folder);
        return kDone;
    }
    int code = kDone;
    for (const Profile& profile : profilesOf(target)) {
        try {
            if (std::optional<NotesFolder> folder = folderIn(profile, target.instance, missing)) use(*folder);
        } catch (const Failure& failure) {
            printError(profile.name + ": " + failure.text);
            code = failure.code;
        }
    }
    return code;
}

NotesFolder singleFolder(const Target& target, Missing missing) {
    if (target.allUsers || target.newUsers) throw Failure{kUsage, "this command takes one folder: give --user NAME"};
    std::optional<NotesFolder> folder =
        target.user.empty() ? ownFolder(target, missing) : folderIn(profileOf(target.user), target.instance, missing);
    if (!folder) throw Failure{kNo, "there is no notes folder yet"};
    return std::move(*folder);
}

}  // namespace ctl
