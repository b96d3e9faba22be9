// The default machine.txt, and its parser.
#pragma once

#include <filesystem>

#include "machine/Machine.h"

namespace platform {

constexpr std::uint64_t kSystemLogonId = 0x3E7;
constexpr std::uint64_t kFirstLogonId = 0x3A000;  // the first session's; the others add the session number

// The text of a new machine.txt.
extern const char* const kNewMachine;

// A mistake in the file ends the process with a message.
MachineDescription readDescription(const std::filesystem::path& file);

// Ends the process with a message.
[[noreturn]] void refuseMachine(const std::filesystem::path& what, const std::string& why);

}  // namespace platform
