// machine.txt: the text, and what it says.
#pragma once

#include <filesystem>

#include "machine/Machine.h"

namespace platform {

constexpr std::uint64_t kSystemLogonId = 0x3E7;
constexpr std::uint64_t kFirstLogonId = 0x3A000;  // and on from there by the session's number

// What a new machine is.
extern const char* const kNewMachine;

// A mistake in the file ends the process with its reason.
MachineDescription readDescription(const std::filesystem::path& file);

// Ends the process with a message.
[[noreturn]] void refuseMachine(const std::filesystem::path& what, const std::string& why);

}  // namespace platform
