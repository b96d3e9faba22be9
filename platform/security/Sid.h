// Security identifiers as values.
#pragma once

#include <winnt.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "machine/Machine.h"

namespace platform {

// The bytes of a SID.
using Sid = std::vector<BYTE>;

Sid makeSid(BYTE authority, std::initializer_list<DWORD> parts);
// Of the form "S-1-5-18". Empty for any other text.
Sid readSid(std::string_view text);
// Of a SID that IsValidSid accepts.
Sid copySid(PSID sid);
bool isValidSid(PSID sid);
bool sameSid(PSID left, PSID right);

const Sid& everyoneSid();
const Sid& administratorsSid();

// A user whom machine.txt does not describe has one made of his name.
Sid sidOfUser(const MachineDescription& machine, const std::string& user);
// The same for the number that Linux has for an owner, in both directions. False when no user of the machine has it.
Sid sidOfUid(const MachineDescription& machine, std::uint32_t uid);
bool uidOfSid(const MachineDescription& machine, PSID sid, std::uint32_t& uid);

}  // namespace platform
