// The running processes of Vellumd and their versions.
#include <windows.h>
#include <winver.h>
#include <wtsapi32.h>

#include "common/Handles.h"
#include "ctl/Status.h"
#include "notes/Text.h"

namespace ctl {
namespace {

using ProcessList = Guard<ValueTraits<WTS_PROCESS_INFOW*, WTSFreeMemory>>;

// Empty on failure, with the reason in GetLastError.
WideString imageOf(DWORD processId) {
    WCHAR path[1024];
    DWORD units = 1024;
    const KernelHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process || !QueryFullProcessImageNameW(process.get(), 0, path, &units)) return {};
    return WideString(path, units);
}

// "1.2.3.4"; empty on failure, with the reason in GetLastError.
std::string versionOf(const WideString& path) {
    DWORD unused = 0;
    std::vector<BYTE> block(GetFileVersionInfoSizeW(path.c_str(), &unused));
    void* value = nullptr;
    UINT size = 0;
    if (block.empty() || !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), TEXT("\\"), &value, &size))
        return {};
    const auto* const version = static_cast<const VS_FIXEDFILEINFO*>(value);
    const DWORD parts[] = {version->dwFileVersionMS >> 16, version->dwFileVersionMS & 0xFFFF,
                           version->dwFileVersionLS >> 16, version->dwFileVersionLS & 0xFFFF};
    return wideToUtf8(formatWideString(TEXT("%lu.%lu.%lu.%lu"), parts[0], parts[1], parts[2], parts[3]));
}

Copy describe(const WTS_PROCESS_INFOW& process) {
    Copy copy = {process.ProcessId, process.SessionId, imageOf(process.ProcessId), {}, {}};
    if (!copy.path.empty()) copy.version = versionOf(copy.path);
    if (copy.version.empty()) copy.problem = "cannot be read (" + errorText(GetLastError()) + ")";
    return copy;
}

}  // namespace

std::string errorText(DWORD error) {
    return "Windows error " + std::to_string(error);
}

Listing<Copy> readCopies() {
    Listing<Copy> copies;
    ProcessList processes;
    DWORD count = 0;
    if (!WTSEnumerateProcessesW(WTS_CURRENT_SERVER_HANDLE, 0, 1, processes.put(), &count)) {
        copies.problem = "cannot be read (" + errorText(GetLastError()) + ")";
        return copies;
    }
    for (DWORD i = 0; i < count; ++i) {
        const WTS_PROCESS_INFOW& process = processes.get()[i];
        if (process.pProcessName != nullptr && equalsIgnoreCase(process.pProcessName, TEXT("Vellumd.exe")))
            copies.items.push_back(describe(process));
    }
    return copies;
}

}  // namespace ctl
