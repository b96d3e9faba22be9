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
// Parses text like "S-1-5-18". Empty if the text is malformed.
Sid readSid(std::string_view text);
// `sid` must be valid for IsValidSid.
Sid copySid(PSID sid);
bool isValidSid(PSID sid);
bool sameSid(PSID left, PSID right);

const Sid& everyoneSid();
const Sid& administratorsSid();

// If machine.txt does not describe the user, returns a SID derived from the name.
Sid sidOfUser(const MachineDescription& machine, const std::string& user);
// Converts between SIDs and Linux uids. uidOfSid returns false if no user of the machine has the SID.
Sid sidOfUid(const MachineDescription& machine, std::uint32_t uid);
bool uidOfSid(const MachineDescription& machine, PSID sid, std::uint32_t& uid);

}  // namespace platform
