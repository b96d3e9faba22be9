// Logon sessions of the LSA. Each call reads machine.txt again, so logons can start and end while processes run.
#include <ntsecapi.h>
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/Machine.h"
#include "security/Sid.h"

namespace platform {
namespace {

constexpr NTSTATUS kNoSuchLogonSession = static_cast<NTSTATUS>(0xC000005F);
constexpr NTSTATUS kInvalidParameter = static_cast<NTSTATUS>(0xC000000D);
constexpr NTSTATUS kAccessDenied = static_cast<NTSTATUS>(0xC0000022);
// Maps a Windows error code to an NTSTATUS and back.
constexpr DWORD kWin32Facility = 0xC0070000, kFacilityMask = 0xFFFF0000;

NTSTATUS statusOf(DWORD error) {
    return static_cast<NTSTATUS>(error == ERROR_SUCCESS ? 0 : kWin32Facility | (error & 0xFFFF));
}

std::uint64_t numberOf(const LUID& id) {
    return (std::uint64_t{static_cast<DWORD>(id.HighPart)} << 32) | id.LowPart;
}

// Builds one memory block: the record, the SID, the user name.
PSECURITY_LOGON_SESSION_DATA dataOf(const Logon& logon, const Sid& sid) {
    const std::u16string name = toWide(logon.user);
    const std::size_t nameBytes = name.size() * sizeof(WCHAR);
    BYTE* const block = static_cast<BYTE*>(allocate(sizeof(SECURITY_LOGON_SESSION_DATA) + sid.size() + nameBytes));
    BYTE* const sidAt = block + sizeof(SECURITY_LOGON_SESSION_DATA);
    BYTE* const nameAt = sidAt + sid.size();
    SECURITY_LOGON_SESSION_DATA data = {};
    data.Size = sizeof data;
    data.LogonId = {static_cast<DWORD>(logon.id), static_cast<LONG>(logon.id >> 32)};
    data.UserName = {static_cast<USHORT>(nameBytes), static_cast<USHORT>(nameBytes), reinterpret_cast<PWSTR>(nameAt)};
    data.LogonType = logon.type;
    data.Session = logon.sessionId;
    data.Sid = sid.empty() ? nullptr : sidAt;
    data.LogonTime.QuadPart = logon.time;
    std::memcpy(block, &data, sizeof data);
    std::copy(sid.begin(), sid.end(), sidAt);
    std::memcpy(nameAt, name.data(), nameBytes);
    return reinterpret_cast<PSECURITY_LOGON_SESSION_DATA>(block);
}

}  // namespace
}  // namespace platform

using namespace platform;

NTSTATUS LsaGetLogonSessionData(PLUID id, PSECURITY_LOGON_SESSION_DATA* data) {
    static constinit CallSite site{__func__};
    if (const DWORD error = site.error()) return statusOf(error);
    *data = nullptr;
    const MachineDescription now = machineNow();
    const auto logon = std::ranges::find(now.logons, numberOf(*id), &Logon::id);
    if (logon == now.logons.end()) return kNoSuchLogonSession;
    if (logon->hasData) *data = dataOf(*logon, logon->user.empty() ? Sid() : sidOfUser(now, logon->user));
    return 0;
}

NTSTATUS LsaFreeReturnBuffer(PVOID buffer) {
    static constinit CallSite site{__func__};
    const DWORD error = site.error();
    release(buffer);  // even if the call fails, the memory is freed
    return statusOf(error);
}

ULONG LsaNtStatusToWinError(NTSTATUS status) {
    static constinit CallSite site{__func__};
    site.pass();
    if ((static_cast<DWORD>(status) & kFacilityMask) == kWin32Facility) return static_cast<DWORD>(status) & 0xFFFF;
    switch (status) {
        case 0:
            return ERROR_SUCCESS;
        case kNoSuchLogonSession:
            return ERROR_NO_SUCH_LOGON_SESSION;
        case kInvalidParameter:
            return ERROR_INVALID_PARAMETER;
        case kAccessDenied:
            return ERROR_ACCESS_DENIED;
    }
    return ERROR_MR_MID_NOT_FOUND;
}
