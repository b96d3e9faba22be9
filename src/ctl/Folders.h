// From "whose notes" to folders. For another user's profile each folder below the profile is opened as itself, checked
// and held: a link that the user has made leads nobody elsewhere.
#pragma once

#include <functional>

#include "ctl/NotesFolder.h"
#include "ctl/Request.h"

namespace ctl {

enum class Missing { Make, Skip };  // what happens to a folder that does not exist

// Calls `use` for each folder of the target; with Missing::Skip only for those that exist. Where the target is one
// folder, a Failure passes through. With several, each Failure is printed with the name of the user, the others go on,
// and the result is the last Failure's code; else 0.
int forEachFolder(const Target& target, Missing missing, const std::function<void(NotesFolder&)>& use);

// The folder of a target that must be a single one. Throws Failure with kUsage for several.
NotesFolder singleFolder(const Target& target, Missing missing);

}  // namespace ctl
