// Reads and writes tokens as text, and derives the tokens of a session. Called by Machine.cpp and by the functions that
// start processes. Stateless.
#include "machine/TokenText.h"

#include <winnt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "machine/Description.h"

namespace platform {
namespace {

struct Level {
    const char* name;
    DWORD value;
};
constexpr Level kLevels[] = {{"untrusted", SECURITY_MANDATORY_UNTRUSTED_RID},
                             {"low", SECURITY_MANDATORY_LOW_RID},
                             {"medium", SECURITY_MANDATORY_MEDIUM_RID},
                             {"high", SECURITY_MANDATORY_HIGH_RID},
                             {"system", SECURITY_MANDATORY_SYSTEM_RID}};

const Session* findSession(const MachineDescription& machine, DWORD id) {
    const auto found = std::ranges::find(machine.sessions, id, &Session::id);
    return found == machine.sessions.end() ? nullptr : &*found;
}

bool isAdministrator(const MachineDescription& machine, const std::string& user) {
    const auto found = std::ranges::find(machine.users, user, &User::name);
    return found != machine.users.end() && found->isAdministrator;
}

bool readNumber(const std::string& text, std::uint64_t& value) {
    char* end = nullptr;
    value = std::strtoull(text.c_str(), &end, 0);
    return text.starts_with("0x") && *end == 0;
}

bool readWord(const std::string& word, Token& token) {
    std::uint64_t number = 0;
    for (const Level& level : kLevels)
        if (word == level.name) {
            token.integrity = level.value;
            return true;
        }
    if (word == "impersonating") return token.isImpersonating = true;
    if (word.starts_with("logon=")) return readNumber(word.substr(6), token.logonId);
    if (!readNumber(word, number)) return false;
    token.integrity = static_cast<DWORD>(number);
    return true;
}

// Sets the Administrators group of an administrator's token. Below the level "high" the group is deny-only.
void settleAdministrators(const MachineDescription& machine, Token& token) {
    const Session* session = findSession(machine, token.sessionId);
    const bool isFull = token.integrity >= SECURITY_MANDATORY_HIGH_RID;
    const bool isSplit = session != nullptr && session->isElevated && session->user == token.user;
    if (!isAdministrator(machine, token.user)) return;
    token.administrators = isFull ? Administrators::Enabled : Administrators::DenyOnly;
    if (isSplit) token.elevationType = isFull ? TokenElevationTypeFull : TokenElevationTypeLimited;
}

// Parses a token from machine.txt. A mistake in it ends the process.
Token describedToken(const MachineDescription& machine, const std::string& text) {
    Token token;
    std::string mistake;
    if (!readToken(text, machine, token, mistake)) refuseMachine("a token in machine.txt", mistake);
    return token;
}

Token tokenIn(const MachineDescription& machine, const Session& session, bool isFull) {
    const bool isHigh = isFull && isAdministrator(machine, session.user);
    return describedToken(machine, session.user + "@" + std::to_string(session.id) + (isHigh ? " high" : ""));
}

}  // namespace

bool readToken(const std::string& text, const MachineDescription& machine, Token& token, std::string& mistake) {
    std::istringstream input(text);
    std::string word;
    input >> word;
    const std::size_t at = word.rfind('@');
    if (at == std::string::npos || at == 0 || at + 1 == word.size() ||
        word.find_first_not_of("0123456789", at + 1) != std::string::npos) {
        mistake = "the form is user@session";
        return false;
    }
    token = {};
    token.user = word.substr(0, at);
    token.sessionId = static_cast<DWORD>(std::strtoul(word.c_str() + at + 1, nullptr, 10));
    const bool isSystem = token.user == "SYSTEM";
    const Session* session = findSession(machine, token.sessionId);
    token.integrity = isSystem ? SECURITY_MANDATORY_SYSTEM_RID : SECURITY_MANDATORY_MEDIUM_RID;
    token.logonId = isSystem ? kSystemLogonId : session != nullptr ? session->logonId : kFirstLogonId + token.sessionId;
    while (input >> word)
        if (!readWord(word, token)) {
            mistake = "knows no \"" + word + "\"";
            return false;
        }
    settleAdministrators(machine, token);
    return true;
}

std::string writeToken(const Token& token) {
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, " 0x%X logon=0x%llX", static_cast<unsigned>(token.integrity),
                  static_cast<unsigned long long>(token.logonId));
    return token.user + "@" + std::to_string(token.sessionId) + numbers +
           (token.isImpersonating ? " impersonating" : "");
}

Token ordinaryToken(const MachineDescription& machine, const Session& session) {
    return tokenIn(machine, session, !session.isElevated);
}

Token sessionToken(const MachineDescription& machine, const Session& session) {
    return session.userToken.empty() ? tokenIn(machine, session, true) : describedToken(machine, session.userToken);
}

Token shellToken(const MachineDescription& machine, const Session& session) {
    return session.shellToken.empty() ? ordinaryToken(machine, session) : describedToken(machine, session.shellToken);
}

bool linkedToken(const Token& token, Token& linked) {
    linked = token;
    if (token.elevationType == TokenElevationTypeFull) {
        linked.integrity = SECURITY_MANDATORY_MEDIUM_RID;
        linked.administrators = Administrators::DenyOnly;
        linked.elevationType = TokenElevationTypeLimited;
        return true;
    }
    if (token.elevationType != TokenElevationTypeLimited) return false;
    linked.integrity = SECURITY_MANDATORY_HIGH_RID;
    linked.administrators = Administrators::Enabled;
    linked.elevationType = TokenElevationTypeFull;
    return true;
}

}  // namespace platform
