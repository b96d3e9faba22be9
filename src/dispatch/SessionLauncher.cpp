// The dispatch to sessions: tokens and processes. The role --launch-user-sessions calls it, on the main thread.
#include "dispatch/SessionLauncher.h"

#include <userenv.h>
#include <wtsapi32.h>

#include <vector>

#include "common/Handles.h"
#include "common/Logger.h"
#include "common/TokenData.h"

namespace SessionLauncher {
namespace {

constexpr const WCHAR* kComponent = TEXT("SessionLauncher");
constexpr const WCHAR* kPrivileges[] = {SE_TCB_NAME, SE_ASSIGNPRIMARYTOKEN_NAME, SE_INCREASE_QUOTA_NAME};

using EnvironmentBlock = Guard<ValueTraits<void*, DestroyEnvironmentBlock>>;
using SessionList = Guard<ValueTraits<WTS_SESSION_INFOW*, WTSFreeMemory>>;

// Logs a failure and returns false. The caller passes the error number.
template <typename... Values>
bool fail(LogLevel level, const WCHAR* format, Values... values) {
    logWrite(level, kComponent, format, values...);
    return false;
}

bool isLocalSystem(const std::vector<BYTE>& user, bool wasRead) {
    return wasRead && IsWellKnownSid(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, WinLocalSystemSid);
}

bool enablePrivilege(HANDLE token, const WCHAR* name) {
    TOKEN_PRIVILEGES wanted = {};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!LookupPrivilegeValueW(nullptr, name, &wanted.Privileges[0].Luid))
        return fail(LogLevel::Error, TEXT("LookupPrivilegeValue(%ls) failed (err=%lu)"), name, GetLastError());
    const BOOL done = AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr);
    const DWORD err = GetLastError();  // ERROR_NOT_ALL_ASSIGNED with a true result: the token lacks the privilege
    if (done && err == ERROR_SUCCESS) return true;
    return fail(LogLevel::Error, TEXT("Cannot enable %ls (err=%lu)"), name, err);
}

// Chooses the user's token, or the limited one of an elevated administrator. False, with the reason logged.
bool chooseToken(DWORD sessionId, const KernelHandle& session, KernelHandle& linked, HANDLE& chosen) {
    DWORD err = ERROR_SUCCESS;
    TOKEN_ELEVATION_TYPE elevation = TokenElevationTypeDefault;
    if (!readTokenValue(session.get(), TokenElevationType, elevation, err))
        return fail(LogLevel::Warn, TEXT("Cannot query token elevation (session=%lu, err=%lu)"), sessionId, err);
    chosen = session.get();
    if (elevation == TokenElevationTypeFull) {
        TOKEN_LINKED_TOKEN limited = {};
        if (!readTokenValue(session.get(), TokenLinkedToken, limited, err))
            return fail(LogLevel::Warn, TEXT("Cannot obtain limited token (session=%lu, err=%lu)"), sessionId, err);
        linked.reset(limited.LinkedToken);
        chosen = linked.get();
    }
    DWORD target = 0;
    if (!readTokenValue(chosen, TokenSessionId, target, err) || target != sessionId)
        return fail(LogLevel::Error, TEXT("Token does not target session %lu"), sessionId);
    return true;
}

bool startProcess(DWORD sessionId, HANDLE token, const WideString& executable, const WideString& arguments) {
    EnvironmentBlock environment;
    if (!CreateEnvironmentBlock(environment.put(), token, FALSE))
        return fail(LogLevel::Warn, TEXT("CreateEnvironmentBlock(session=%lu) failed (err=%lu)"), sessionId,
                    GetLastError());
    WideString command = commandLine(executable, arguments);
    const WideString folder = workingFolder(executable);
    WCHAR desktop[] = TEXT("winsta0\\default");
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.lpDesktop = desktop;
    PROCESS_INFORMATION made = {};
    if (!CreateProcessAsUserW(token, executable.c_str(), command.data(), nullptr, nullptr, FALSE,
                              CREATE_UNICODE_ENVIRONMENT | CREATE_BREAKAWAY_FROM_JOB, environment.get(),
                              folder.empty() ? nullptr : folder.c_str(), &startup, &made))
        return fail(LogLevel::Warn, TEXT("CreateProcessAsUser(session=%lu) failed (err=%lu)"), sessionId,
                    GetLastError());
    const KernelHandle process(made.hProcess), thread(made.hThread);
    logWrite(LogLevel::Debug, kComponent, TEXT("Launch attempt in session %lu (pid=%lu)"), sessionId, made.dwProcessId);
    return true;
}

}  // namespace

bool enablePrivileges() {
    KernelHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, token.put()))
        return fail(LogLevel::Error, TEXT("OpenProcessToken failed (err=%lu)"), GetLastError());
    DWORD bytes = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &bytes);
    if (bytes == 0) return false;
    std::vector<BYTE> user(bytes);
    const bool wasRead = GetTokenInformation(token.get(), TokenUser, user.data(), bytes, &bytes) != FALSE;
    if (!isLocalSystem(user, wasRead))
        return fail(LogLevel::Error, TEXT("Session dispatch requires LocalSystem; use elevated /register"));
    for (const WCHAR* name : kPrivileges)
        if (!enablePrivilege(token.get(), name)) return false;
    return true;
}

bool launchInSession(DWORD sessionId, const WideString& executable, const WideString& arguments) {
    KernelHandle session, linked;
    if (!WTSQueryUserToken(sessionId, session.put())) {
        const DWORD err = GetLastError();
        if (err == ERROR_NO_TOKEN) return true;  // nobody is logged on
        return fail(LogLevel::Warn, TEXT("WTSQueryUserToken(session=%lu) failed (err=%lu)"), sessionId, err);
    }
    HANDLE chosen = nullptr;
    return chooseToken(sessionId, session, linked, chosen) && startProcess(sessionId, chosen, executable, arguments);
}

bool dispatchToSessions(const WideString& executable, const WideString& arguments) {
    if (!enablePrivileges()) return false;
    SessionList sessions;
    DWORD count = 0;
    if (!WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, sessions.put(), &count))
        return fail(LogLevel::Error, TEXT("WTSEnumerateSessions failed (err=%lu)"), GetLastError());
    bool served = true;
    for (DWORD i = 0; i < count; ++i) {
        const WTS_SESSION_INFOW& session = sessions.get()[i];
        if (!isDispatchableSession(session.SessionId, static_cast<DWORD>(session.State))) continue;
        if (!launchInSession(session.SessionId, executable, arguments)) served = false;
    }
    return served;
}

}  // namespace SessionLauncher
