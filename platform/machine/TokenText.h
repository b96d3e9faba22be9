// Tokens as text, as in VELLUM_TOKEN and machine.txt. A process passes its child's token this way.
#pragma once

#include <string>

#include "machine/Machine.h"

namespace platform {

// Parses a token; Machine.h describes the format. On failure returns false and puts the reason in `mistake`.
bool readToken(const std::string& text, const MachineDescription& machine, Token& token, std::string& mistake);
// Writes a token so that readToken can parse it.
std::string writeToken(const Token& token);

// The token of the user's processes: the only one, or the limited one of an administrator's two.
Token ordinaryToken(const MachineDescription& machine, const Session& session);
// The token that the system returns for the session: for an administrator, the full one.
Token sessionToken(const MachineDescription& machine, const Session& session);
// The token of the session's shell.
Token shellToken(const MachineDescription& machine, const Session& session);
// The other one of an administrator's two linked tokens. False if there is only one.
bool linkedToken(const Token& token, Token& linked);

}  // namespace platform
