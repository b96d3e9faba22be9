// Sessions and their logged-on users.
#include <windows.h>
#include <wtsapi32.h>

#include <cstring>
#include <vector>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "machine/TokenText.h"
#include "security/Token.h"

using namespace platform;

BOOL GetUserNameW(LPWSTR name, LPDWORD capacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::u16string text = toWide(processToken().user);
    const DWORD needed = static_cast<DWORD>(text.size() + 1);
    const bool fits = name != nullptr && *capacity >= needed;
    *capacity = needed;
    if (!fits) return refuse(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(name, text.c_str(), needed * sizeof(WCHAR));
    return TRUE;
}

BOOL WTSQuerySessionInformationW(HANDLE, DWORD sessionId, WTS_INFO_CLASS what, LPWSTR* buffer, DWORD* bytes) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (what != WTSUserName) return refuse(ERROR_INVALID_PARAMETER);
    for (const Session& session : machine().sessions) {
        if (session.id != sessionId) continue;
        const std::u16string text = toWide(session.user);
        *bytes = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
        *buffer = static_cast<LPWSTR>(allocate(*bytes));
        std::memcpy(*buffer, text.c_str(), *bytes);
        return TRUE;
    }
    if (sessionId == 0) {  // session 0 always exists and has no user
        *bytes = sizeof(WCHAR);
        *buffer = static_cast<LPWSTR>(allocate(*bytes));
        **buffer = 0;
        return TRUE;
    }
    return refuse(ERROR_CTX_WINSTATION_NOT_FOUND);
}

void WTSFreeMemory(PVOID memory) {
    static constinit CallSite site{__func__};
    site.pass();
    release(memory);
}

// The list always contains session 0, the services' session.
BOOL WTSEnumerateSessionsW(HANDLE, DWORD, DWORD, PWTS_SESSION_INFOW* sessions, DWORD* count) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    static WCHAR noName[] = u"";
    std::vector<WTS_SESSION_INFOW> found = {{0, noName, WTSDisconnected}};
    for (const Session& session : machineNow().sessions)
        found.push_back({session.id, noName, static_cast<WTS_CONNECTSTATE_CLASS>(session.state)});
    const std::size_t bytes = found.size() * sizeof(WTS_SESSION_INFOW);
    *sessions = static_cast<PWTS_SESSION_INFOW>(allocate(bytes));
    std::memcpy(*sessions, found.data(), bytes);
    *count = static_cast<DWORD>(found.size());
    return TRUE;
}

// The caller needs SeTcbPrivilege.
BOOL WTSQueryUserToken(ULONG sessionId, PHANDLE token) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (!mayUse(Tcb)) return refuse(ERROR_PRIVILEGE_NOT_HELD);
    const MachineDescription now = machineNow();
    for (const Session& session : now.sessions) {
        if (session.id != sessionId) continue;
        if (session.user.empty()) break;
        *token = openTokenHandle(makeToken(sessionToken(now, session)), kAllTokenRights);
        return TRUE;
    }
    return refuse(sessionId == 0 ? ERROR_ACCESS_DENIED : ERROR_NO_TOKEN);
}
