// Controls the machine for tests: moves the process to another machine, changes its token, sets the clock, and returns
// recorded output.
#pragma once

#include <filesystem>
#include <string>

#include "com/Com.h"
#include "core/Clock.h"
#include "files/FileObject.h"
#include "machine/Machine.h"
#include "process/Process.h"
#include "process/Surroundings.h"
#include "windows/Notices.h"

namespace platform {

// Moves this process to another machine, with the token that VELLUM_TOKEN or that machine gives it.
void useMachine(const std::filesystem::path& folder);
// Gives this process the token that the text describes, as in VELLUM_TOKEN. Open handles keep the old token.
void useToken(const std::string& description);
// Replaces machine.txt atomically, as an editor does. machineNow() then returns the new content in all processes.
void rewriteMachine(const std::string& text);

}  // namespace platform
