// Tokens as text: what VELLUM_TOKEN and machine.txt say. A process that starts another gives it its token this way.
#pragma once

#include <string>

#include "machine/Machine.h"

namespace platform {

// Reads a token; Machine.h describes the form. False, with the reason in `mistake`.
bool readToken(const std::string& text, const MachineDescription& machine, Token& token, std::string& mistake);
// Writes a token so that readToken gives it back.
std::string writeToken(const Token& token);

// What a user's processes run under: his only token, or the limited one of an administrator's two.
Token ordinaryToken(const MachineDescription& machine, const Session& session);
// What the system has for the session: of an administrator's two tokens the full one.
Token sessionToken(const MachineDescription& machine, const Session& session);
// What the session's shell runs under.
Token shellToken(const MachineDescription& machine, const Session& session);
// The other one of an administrator's two tokens. False when there is none.
bool linkedToken(const Token& token, Token& linked);

}  // namespace platform
