// The desktop and the job of a process, taken from its environment. Called by Children.cpp and the window code on any
// thread. Stateless.
#include "process/Surroundings.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Ordinal.h"
#include "machine/Machine.h"

namespace platform {
namespace {

constexpr const char* kUsersDesktop = "WinSta0\\Default";
constexpr const char* kServicesDesktop = "Service-0x0-3e7$\\Default";

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace

std::string variableOf(int processId, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(processId) + "/environ");
    for (std::string entry; std::getline(file, entry, '\0');)
        if (entry.starts_with(name + "=")) return entry.substr(name.size() + 1);
    return {};
}

std::string processDesktop() {
    const std::string given = variable("VELLUM_DESKTOP");
    if (!given.empty()) return given;
    return processToken().sessionId == 0 ? kServicesDesktop : kUsersDesktop;
}

bool isUsersDesktop(const std::string& desktop) {
    return equalsOrdinal(toWide(desktop), toWide(kUsersDesktop));
}

std::string desktopFolderName() {
    const std::string session = std::to_string(processToken().sessionId);
    std::string desktop = processDesktop();
    if (isUsersDesktop(desktop)) return session;
    std::ranges::replace_if(
        desktop, [](char unit) { return unit == '\\' || unit == '/'; }, '-');
    return session + " " + desktop;
}

std::string processJob() {
    return variable("VELLUM_JOB");
}

bool chooseChildJob(bool leavesJob, unsigned sessionId, std::string& job) {
    job = processJob();
    const bool staysInSession = sessionId == processToken().sessionId;
    const bool may = job.empty() || (leavesJob ? job.ends_with(" breakaway") : staysInSession);
    if (leavesJob) job.clear();
    return may || refuse(ERROR_ACCESS_DENIED);
}

std::string desktopOf(int processId) {
    return variableOf(processId, "VELLUM_DESKTOP");
}

std::string jobOf(int processId) {
    return variableOf(processId, "VELLUM_JOB");
}

}  // namespace platform
