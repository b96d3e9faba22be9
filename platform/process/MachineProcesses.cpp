// Lists the processes of the machine. Stateless: each call reads /proc.
#include "process/MachineProcesses.h"

#include <windows.h>
#include <wtsapi32.h>

#include <charconv>
#include <cstring>
#include <filesystem>

#include "core/Allocations.h"
#include "core/Encoding.h"
#include "core/Gate.h"
#include "machine/TokenText.h"
#include "process/Surroundings.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

std::string linkIn(int processId, const char* name) {
    std::error_code error;
    return fs::read_symlink("/proc/" + std::to_string(processId) + "/" + name, error).string();
}

bool isOnThisMachine(int processId) {
    const auto variable = [processId](const char* name) {
        const std::string value = variableOf(processId, name);
        const bool isRelative = std::string_view(name) == "VELLUM_MACHINE" && !value.empty() && value[0] != '/';
        return isRelative ? linkIn(processId, "cwd") + "/" + value : value;
    };
    std::error_code error;
    return fs::equivalent(machineFolderIn(variable), machineFolder(), error);
}

// The same choice that a process makes for itself.
bool chooseToken(int processId, const MachineDescription& now, Token& token) {
    std::string mistake, text = variableOf(processId, "VELLUM_TOKEN");
    if (!text.empty()) return readToken(text, now, token, mistake);
    for (const Session& session : now.sessions) {
        if (session.user.empty()) continue;
        token = ordinaryToken(now, session);
        return true;
    }
    return readToken("SYSTEM@0", now, token, mistake);
}

// A process that has ended and is not yet collected has no image any more.
bool describe(int processId, const MachineDescription& now, MachineProcess& process) {
    process = {static_cast<DWORD>(processId), {}, linkIn(processId, "exe")};
    return !process.image.empty() && isOnThisMachine(processId) && chooseToken(processId, now, process.token);
}

// Programs on Linux have no extension; in the lists of Windows all have one.
std::u16string nameOf(const MachineProcess& process) {
    const fs::path name = fs::path(process.image).filename();
    return toWide(name.has_extension() ? name.string() : name.string() + ".exe");
}

}  // namespace

std::vector<MachineProcess> machineProcesses() {
    const MachineDescription now = machineNow();
    std::vector<MachineProcess> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        int processId = 0;
        const auto [end, problem] = std::from_chars(name.data(), name.data() + name.size(), processId);
        const bool isNumber = problem == std::errc() && end == name.data() + name.size();
        MachineProcess process;
        if (isNumber && describe(processId, now, process)) found.push_back(process);
    }
    return found;
}

bool findMachineProcess(DWORD processId, MachineProcess& process) {
    return describe(static_cast<int>(processId), machineNow(), process);
}

}  // namespace platform

using namespace platform;

// The names stand behind the entries, in the same block. No entry names its user.
BOOL WTSEnumerateProcessesW(HANDLE, DWORD, DWORD, PWTS_PROCESS_INFOW* processes, DWORD* count) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::vector<MachineProcess> found = machineProcesses();
    std::u16string names;
    for (const MachineProcess& process : found)
        names += nameOf(process) + u'\0';
    const std::size_t entries = found.size() * sizeof(WTS_PROCESS_INFOW);
    *processes = static_cast<PWTS_PROCESS_INFOW>(allocate(entries + names.size() * sizeof(WCHAR)));
    LPWSTR name = reinterpret_cast<LPWSTR>(*processes + found.size());
    std::memcpy(name, names.data(), names.size() * sizeof(WCHAR));
    for (std::size_t i = 0; i < found.size(); ++i) {
        (*processes)[i] = {found[i].token.sessionId, found[i].id, name, nullptr};
        name += std::char_traits<WCHAR>::length(name) + 1;
    }
    *count = static_cast<DWORD>(found.size());
    return TRUE;
}
