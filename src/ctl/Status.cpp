// Sessions, their displays, today's logs, and what of it needs attention.
#include "ctl/Status.h"

#include <wtsapi32.h>

#include <algorithm>
#include <map>

#include "common/Handles.h"
#include "ctl/LogFiles.h"
#include "ctl/LogTime.h"
#include "dispatch/SessionPlan.h"
#include "notes/Text.h"

namespace ctl {
namespace {

using SessionList = Guard<ValueTraits<WTS_SESSION_INFOW*, WTSFreeMemory>>;

std::string stateName(WTS_CONNECTSTATE_CLASS state) {
    return state == WTSActive ? "active" : state == WTSConnected ? "connected" : "disconnected";
}

// Empty if nobody is logged on.
WideString userOf(DWORD session) {
    Guard<ValueTraits<LPWSTR, WTSFreeMemory>> name;
    DWORD bytes = 0;
    const bool known = WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, session, WTSUserName, name.put(), &bytes);
    return known && name ? WideString(name.get()) : WideString();
}

Listing<SessionState> readSessions() {
    Listing<SessionState> sessions;
    SessionList list;
    DWORD count = 0;
    if (!WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, list.put(), &count))
        sessions.problem = "cannot be read (" + errorText(GetLastError()) + ")";
    for (DWORD i = 0; list && i < count; ++i) {
        const WTS_SESSION_INFOW& entry = list.get()[i];
        if (!SessionLauncher::isDispatchableSession(entry.SessionId, static_cast<DWORD>(entry.State))) continue;
        const WideString user = userOf(entry.SessionId);
        if (!user.empty()) sessions.items.push_back({entry.SessionId, user, stateName(entry.State), {}});
    }
    return sessions;
}

// Sessions that the system does not list although a copy runs there: Wine lists none.
void addSessionsOf(const std::vector<Copy>& copies, std::vector<SessionState>& sessions) {
    for (const Copy& copy : copies) {
        const bool isListed = std::any_of(sessions.begin(), sessions.end(),
                                          [&](const SessionState& session) { return session.session == copy.session; });
        const WideString user = copy.session == 0 || isListed ? WideString() : userOf(copy.session);
        if (!user.empty()) sessions.push_back({copy.session, user, "not listed", {}});
    }
}

// A process that writes to a log file shares it with readers only.
bool isBeingWritten(const LogFile& file) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const FileHandle opened(CreateFileW(file.path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    return !opened && GetLastError() == ERROR_SHARING_VIOLATION;
}

bool hasInstance(const std::vector<WideString>& instances, const WideString& instance) {
    return std::any_of(instances.begin(), instances.end(),
                       [&](const WideString& other) { return equalsIgnoreCase(other, instance); });
}

// Where no copy runs, no file is opened: a display that starts meanwhile could not open it and would have no log.
std::vector<WideString> instancesThatLog(DWORD session, bool mayRun, const std::vector<LogFile>& files) {
    std::vector<WideString> found;
    for (const LogFile& file : files)
        if (mayRun && file.session == session && !file.isFull && isBeingWritten(file) &&
            !hasInstance(found, file.instance))
            found.push_back(file.instance);
    return found;
}

// The display of each registered instance, and those of others that run.
void findDisplays(const Listing<TaskState>& tasks, const Listing<Copy>& copies, const std::vector<LogFile>& files,
                  SessionState& session) {
    const std::size_t running = static_cast<std::size_t>(std::count_if(
        copies.items.begin(), copies.items.end(), [&](const Copy& copy) { return copy.session == session.session; }));
    const bool isCounted = copies.problem.empty();
    std::vector<WideString> logging = instancesThatLog(session.session, !isCounted || running > 0, files);
    const Display other = !isCounted || running > logging.size() ? Display::Unknown : Display::Missing;
    for (const TaskState& task : tasks.items) {
        const bool runs = hasInstance(logging, task.instance);
        session.instances.push_back({task.instance, runs ? Display::Runs : other});
        std::erase_if(logging, [&](const WideString& instance) { return equalsIgnoreCase(instance, task.instance); });
    }
    if (session.instances.empty() && logging.empty() && running > 0)
        session.instances.push_back({{}, Display::Unknown});
    for (const WideString& instance : logging)
        session.instances.push_back({instance, Display::Runs});
}

}  // namespace

LogState readTodaysLogs() {
    constexpr std::string_view kRefused = "Failed to load note after 3 retries: ";
    LogState state;
    state.since = logTimeOf(startOfToday());
    std::map<std::string, std::string> refused;  // by the path of the file
    std::string lastTime;
    const auto count = [&](const LogEntry& entry) {
        if (entry.level < LogLevel::Warn || entry.time < state.since) return;
        if (const std::string_view text = entry.message(); text.starts_with(kRefused)) {
            const std::string note(text.substr(kRefused.size()));
            refused[note.substr(0, note.rfind(" ("))] = note;
            return;
        }
        ++state.failures;
        if (entry.time < lastTime) return;
        lastTime = entry.time;
        state.lastFailure = entry.time + " " + entry.text.substr(0, entry.text.find('\n'));
    };
    for (const LogFile& file : findLogFiles())
        if (const DWORD error = readLogFile(file, count); error != ERROR_SUCCESS)
            state.problems.push_back(wideToUtf8(file.path) + " cannot be read (" + errorText(error) + ")");
    for (auto& [path, note] : refused)
        state.refused.push_back(std::move(note));
    return state;
}

Status gatherStatus() {
    Status status = {readTasks(), readSessions(), readCopies(), readTodaysLogs()};
    addSessionsOf(status.copies.items, status.sessions.items);
    const std::vector<LogFile> files = findLogFiles();
    for (SessionState& session : status.sessions.items)
        findDisplays(status.tasks, status.copies, files, session);
    return status;
}

std::vector<std::string> findingsOf(const Status& status) {
    std::vector<std::string> findings;
    for (const TaskState& task : status.tasks.items)
        if (task.hasFailed())
            findings.push_back("the last run of the task \"" + wideToUtf8(task.name) + "\" failed with " +
                               std::to_string(task.lastResult));
    for (const SessionState& session : status.sessions.items)
        for (const InstanceState& instance : session.instances)
            if (instance.display == Display::Missing)
                findings.push_back("session " + std::to_string(session.session) + " (" + wideToUtf8(session.user) +
                                   ") has no display" +
                                   (instance.instance.empty() ? "" : " of instance " + wideToUtf8(instance.instance)));
    if (const std::size_t count = status.log.refused.size(); count != 0)
        findings.push_back(std::to_string(count) + (count == 1 ? " note was" : " notes were") + " refused today");
    return findings;
}

}  // namespace ctl
