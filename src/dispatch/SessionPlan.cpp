#include "dispatch/SessionPlan.h"

#include "common/Arguments.h"

namespace SessionLauncher {

bool isDispatchableSession(DWORD sessionId, DWORD state) {
    constexpr DWORD kActive = 0, kConnected = 1, kDisconnected = 4;
    return sessionId != 0 && (state == kActive || state == kConnected || state == kDisconnected);
}

WideString commandLine(const WideString& executable, const WideString& arguments) {
    const WideString quoted = quoteArgument(executable);
    return arguments.empty() ? quoted : quoted + TEXT(" ") + arguments;
}

WideString workingFolder(const WideString& executable) {
    return executable.substr(0, executable.find_last_of(TEXT("\\/")) + 1);
}

}  // namespace SessionLauncher
