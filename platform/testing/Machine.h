// The machine in a test's hands: it moves the process to another machine, gives it another token, sets the clock, and
// hands out what the process said and did.
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
// Gives this process the token of a description in the form of VELLUM_TOKEN. Handles of the old one keep it.
void useToken(const std::string& description);
// Replaces machine.txt in one step, as an editor does: what machineNow() tells is another then, for all processes.
void rewriteMachine(const std::string& text);

}  // namespace platform
