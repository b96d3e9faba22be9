// Builds the environment block of a user's process: the machine's variables, with `inherit` also those of this process,
// and the user's own.
#include <userenv.h>
#include <windows.h>

#include <cstring>
#include <map>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/Environment.h"
#include "machine/Machine.h"
#include "security/Token.h"

using namespace platform;

BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE handle, BOOL inherit) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_QUERY);
    if (token == nullptr) return FALSE;
    const MachineDescription machine = machineNow();
    std::map<std::string, std::string> variables = machine.environment;
    for (const std::string& text : inherit ? environmentTexts() : std::vector<std::string>())
        variables[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
    variables["USERNAME"] = token->who.user;
    for (const User& user : machine.users) {
        if (user.name != token->who.user || user.profile.empty()) continue;
        variables["USERPROFILE"] = user.profile;
        variables["LOCALAPPDATA"] = user.profile + "\\AppData\\Local";
    }
    std::u16string block;
    for (const auto& [name, value] : variables)
        block += toWide(name + "=" + value) + u'\0';
    block += u'\0';
    *environment = allocate(block.size() * sizeof(WCHAR));
    std::memcpy(*environment, block.data(), block.size() * sizeof(WCHAR));
    return TRUE;
}

BOOL DestroyEnvironmentBlock(LPVOID environment) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    release(environment);
    return TRUE;
}
