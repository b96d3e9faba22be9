// vellumctl status: prints what Status.cpp gathers.
#include <algorithm>
#include <map>

#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Request.h"
#include "ctl/Status.h"
#include "notes/Json.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr const WCHAR* kDisplayNames[] = {TEXT("runs"), TEXT("missing"), TEXT("unknown")};
constexpr const char* kDisplayTexts[] = {"runs", "NO DISPLAY", "runs, instance unknown"};

std::string row(const std::string& text) {
    return "  " + text + "\n";
}

// --- text

std::string resultText(const TaskState& task) {
    const std::string result = std::to_string(task.lastResult);
    if (!task.problem.empty()) return "last run " + task.problem;
    if (task.lastRun.empty()) return "has not run yet";
    const std::string text = "last run " + task.lastRun + ", ";
    if (task.lastResult == SCHED_S_TASK_RUNNING) return text + "runs";
    return text + (task.hasFailed() ? "FAILED with " + result : "result " + result);
}

std::string tasksText(const Listing<TaskState>& tasks) {
    if (!tasks.problem.empty()) return "task: " + tasks.problem + "\n";
    std::string text = tasks.items.empty() ? "task: none is registered\n" : "task:\n";
    for (const TaskState& task : tasks.items)
        text += row(wideToUtf8(task.name) + ": " + resultText(task));
    return text;
}

// One row for each display.
std::string sessionText(const SessionState& session) {
    const std::string who =
        std::to_string(session.session) + " " + wideToUtf8(session.user) + " (" + session.state + ")";
    if (session.instances.empty()) return row(who + ": no display is known");
    std::string text;
    for (const InstanceState& instance : session.instances) {
        const std::string name = instance.instance.empty() ? "" : ", instance " + wideToUtf8(instance.instance);
        text += row(who + name + ": " + kDisplayTexts[static_cast<int>(instance.display)]);
    }
    return text;
}

std::string sessionsText(const Listing<SessionState>& sessions) {
    if (!sessions.problem.empty()) return "sessions: " + sessions.problem + "\n";
    std::string text = sessions.items.empty() ? "sessions: nobody is logged on\n" : "sessions:\n";
    for (const SessionState& session : sessions.items)
        text += sessionText(session);
    return text;
}

// One row for each version and place.
std::string copiesText(const Listing<Copy>& copies) {
    if (!copies.problem.empty()) return "versions: " + copies.problem + "\n";
    std::map<std::string, std::size_t> counts;
    for (const Copy& copy : copies.items)
        ++counts[copy.version.empty() ? copy.problem : copy.version + " of " + wideToUtf8(copy.path)];
    std::string text = counts.empty() ? "versions: no copy runs\n" : "versions:\n";
    for (const auto& [version, count] : counts)
        text += row(std::to_string(count) + (count == 1 ? " process: " : " processes: ") + version);
    return text;
}

std::string logText(const LogState& log) {
    constexpr std::size_t kMostRows = 10;
    std::string text = "logs since " + log.since + ":\n";
    text += row("refused notes: " + std::to_string(log.refused.size()));
    for (std::size_t i = 0; i < std::min(log.refused.size(), kMostRows); ++i)
        text += row("  " + log.refused[i]);
    if (log.refused.size() > kMostRows)
        text += row("  and " + std::to_string(log.refused.size() - kMostRows) + " more");
    text += row("other warnings and errors: " + std::to_string(log.failures));
    if (!log.lastFailure.empty()) text += row("  the last: " + log.lastFailure);
    for (const std::string& problem : log.problems)
        text += row(problem);
    return text;
}

std::string findingsText(const std::vector<std::string>& findings) {
    std::string text = findings.empty() ? "all is well\n" : "needs attention:\n";
    for (const std::string& finding : findings)
        text += row(finding);
    return text;
}

// --- JSON

template <typename Number>
JsonValue number(Number value) {
    return JsonValue(static_cast<double>(value));
}

JsonValue text(const std::string& value) {
    return JsonValue(utf8ToWide(value));
}

template <typename Item, typename Convert>
JsonValue arrayOf(const std::vector<Item>& items, Convert convert) {
    JsonValue array;
    array.kind = JsonKind::Array;
    for (const Item& item : items)
        array.push(convert(item));
    return array;
}

// A problem appears only where there is one.
void setProblem(JsonValue& object, WideView key, const std::string& problem) {
    if (!problem.empty()) object.set(key, text(problem));
}

JsonValue taskValue(const TaskState& task) {
    JsonValue value;
    value.set(TEXT("name"), JsonValue(task.name));
    value.set(TEXT("instance"), JsonValue(task.instance));
    if (!task.lastRun.empty()) value.set(TEXT("lastRun"), text(task.lastRun));
    if (task.problem.empty()) value.set(TEXT("lastResult"), number(task.lastResult));
    setProblem(value, TEXT("problem"), task.problem);
    return value;
}

JsonValue sessionValue(const SessionState& session) {
    JsonValue value;
    value.set(TEXT("session"), number(session.session));
    value.set(TEXT("user"), JsonValue(session.user));
    value.set(TEXT("state"), text(session.state));
    value.set(TEXT("displays"), arrayOf(session.instances, [](const InstanceState& instance) {
                  JsonValue display;
                  display.set(TEXT("instance"), JsonValue(instance.instance));
                  display.set(TEXT("display"),
                              JsonValue(WideString(kDisplayNames[static_cast<int>(instance.display)])));
                  return display;
              }));
    return value;
}

JsonValue copyValue(const Copy& copy) {
    JsonValue value;
    value.set(TEXT("process"), number(copy.process));
    value.set(TEXT("session"), number(copy.session));
    value.set(TEXT("path"), JsonValue(copy.path));
    if (!copy.version.empty()) value.set(TEXT("version"), text(copy.version));
    setProblem(value, TEXT("problem"), copy.problem);
    return value;
}

JsonValue logValue(const LogState& log) {
    JsonValue value;
    value.set(TEXT("since"), text(log.since));
    value.set(TEXT("refused"), arrayOf(log.refused, text));
    value.set(TEXT("failures"), number(log.failures));
    if (!log.lastFailure.empty()) value.set(TEXT("lastFailure"), text(log.lastFailure));
    if (!log.problems.empty()) value.set(TEXT("problems"), arrayOf(log.problems, text));
    return value;
}

JsonValue statusValue(const Status& status, const std::vector<std::string>& findings) {
    JsonValue value;
    value.set(TEXT("findings"), arrayOf(findings, text));
    value.set(TEXT("tasks"), arrayOf(status.tasks.items, taskValue));
    setProblem(value, TEXT("tasksProblem"), status.tasks.problem);
    value.set(TEXT("sessions"), arrayOf(status.sessions.items, sessionValue));
    setProblem(value, TEXT("sessionsProblem"), status.sessions.problem);
    value.set(TEXT("copies"), arrayOf(status.copies.items, copyValue));
    setProblem(value, TEXT("copiesProblem"), status.copies.problem);
    value.set(TEXT("logs"), logValue(status.log));
    return value;
}

}  // namespace

int run(const StatusRequest& request) {
    const Status status = gatherStatus();
    const std::vector<std::string> findings = findingsOf(status);
    if (request.asJson)
        printOut(serializeJsonUtf8(statusValue(status, findings), true) + "\n");
    else
        printOut(tasksText(status.tasks) + sessionsText(status.sessions) + copiesText(status.copies) +
                 logText(status.log) + findingsText(findings));
    return findings.empty() ? kDone : kNo;
}

}  // namespace ctl
