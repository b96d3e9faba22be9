#include <windows.h>
#include <wtsapi32.h>

#include <cstring>
#include <vector>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "machine/TokenText.h"
#include "security/Token.h"

using platform::CallSite;

BOOL GetUserNameW(LPWSTR name, LPDWORD capacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::u16string text = platform::toWide(platform::processToken().user);
    const DWORD needed = static_cast<DWORD>(text.size() + 1);
    const bool fits = name != nullptr && *capacity >= needed;
    *capacity = needed;
    if (!fits) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::memcpy(name, text.c_str(), needed * sizeof(WCHAR));
    return TRUE;
}

BOOL WTSQuerySessionInformationW(HANDLE, DWORD sessionId, WTS_INFO_CLASS what, LPWSTR* buffer, DWORD* bytes) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    if (what != WTSUserName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    for (const platform::Session& session : platform::machine().sessions) {
        if (session.id != sessionId) continue;
        const std::u16string text = platform::toWide(session.user);
        *bytes = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
        *buffer = static_cast<LPWSTR>(platform::allocate(*bytes));
        std::memcpy(*buffer, text.c_str(), *bytes);
        return TRUE;
    }
    if (sessionId == 0) {  // the session of the services always exists; nobody is logged on there
        *bytes = sizeof(WCHAR);
        *buffer = static_cast<LPWSTR>(platform::allocate(*bytes));
        **buffer = 0;
        return TRUE;
    }
    SetLastError(ERROR_CTX_WINSTATION_NOT_FOUND);
    return FALSE;
}

void WTSFreeMemory(PVOID memory) {
    static constinit CallSite site{__func__};
    site.pass();
    platform::release(memory);
}

// Session 0, of the services, is always there.
BOOL WTSEnumerateSessionsW(HANDLE, DWORD, DWORD, PWTS_SESSION_INFOW* sessions, DWORD* count) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    static WCHAR noName[] = u"";
    std::vector<WTS_SESSION_INFOW> found = {{0, noName, WTSDisconnected}};
    for (const platform::Session& session : platform::machineNow().sessions)
        found.push_back({session.id, noName, static_cast<WTS_CONNECTSTATE_CLASS>(session.state)});
    const std::size_t bytes = found.size() * sizeof(WTS_SESSION_INFOW);
    *sessions = static_cast<PWTS_SESSION_INFOW>(platform::allocate(bytes));
    std::memcpy(*sessions, found.data(), bytes);
    *count = static_cast<DWORD>(found.size());
    return TRUE;
}

// Only for who acts as part of the operating system.
BOOL WTSQueryUserToken(ULONG sessionId, PHANDLE token) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    constexpr DWORD kAllRights = 0xF01FF;
    if (!platform::mayUse(platform::Tcb)) {
        SetLastError(ERROR_PRIVILEGE_NOT_HELD);
        return FALSE;
    }
    const platform::MachineDescription now = platform::machineNow();
    for (const platform::Session& session : now.sessions) {
        if (session.id != sessionId) continue;
        if (session.user.empty()) break;
        *token = platform::openTokenHandle(platform::makeToken(platform::sessionToken(now, session)), kAllRights);
        return TRUE;
    }
    SetLastError(sessionId == 0 ? ERROR_ACCESS_DENIED : ERROR_NO_TOKEN);
    return FALSE;
}
