// Scheduled tasks, stored as readable text in tasks/<name>.txt of the machine folder, and the last run of each in
// task-runs/<name>.txt. No code waits for the triggers. To simulate a trigger, run the task with vellum-fire-task.
#pragma once

#include <tasktriggers.h>
#include <winerror.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace platform::tasks {

// The initial values are the defaults of the Windows scheduler.
struct Trigger {
    TASK_TRIGGER_TYPE2 type = TASK_TRIGGER_TIME;
    std::u16string id;
    std::u16string delay;
    std::u16string start;
    std::u16string repetitionInterval;
    VARIANT_BOOL stopsAtDurationEnd = VARIANT_FALSE;
    TASK_SESSION_STATE_CHANGE_TYPE change = TASK_CONSOLE_CONNECT;
};

struct Action {
    std::u16string path;
    std::u16string arguments;
    std::u16string workingDirectory;
};

struct Task {
    std::u16string author;
    std::u16string description;

    std::u16string user;
    TASK_LOGON_TYPE logonType = TASK_LOGON_NONE;
    TASK_RUNLEVEL_TYPE runLevel = TASK_RUNLEVEL_LUA;

    VARIANT_BOOL isEnabled = VARIANT_TRUE;
    VARIANT_BOOL startsWhenAvailable = VARIANT_FALSE;
    VARIANT_BOOL staysOffOnBatteries = VARIANT_TRUE;
    VARIANT_BOOL stopsOnBatteries = VARIANT_TRUE;
    VARIANT_BOOL runsOnlyIfIdle = VARIANT_FALSE;
    VARIANT_BOOL runsOnlyWithNetwork = VARIANT_FALSE;
    VARIANT_BOOL allowsDemandStart = VARIANT_TRUE;
    std::u16string timeLimit = u"PT72H";
    TASK_INSTANCES_POLICY instances = TASK_INSTANCES_IGNORE_NEW;
    std::u16string restartInterval;
    INT restartCount = 0;

    std::deque<Trigger> triggers;
    std::optional<Action> action;
    std::u16string security;
};

struct Run {
    std::int64_t start = 0;  // seconds since 1970
    LONG result = SCHED_S_TASK_HAS_NOT_RUN;
};

// The functions that return an HRESULT return E_INVALIDARG or a name error if the name, or a text of the task, cannot
// be stored, and E_ACCESSDENIED or the file's error if the file is not accessible.

// Creates or replaces the task atomically.
HRESULT save(const std::u16string& name, const Task& task);
// Returns 0x80070002 if the task does not exist.
HRESULT remove(const std::u16string& name);
// Starts the action as LocalSystem, detached and without standard streams. Does not wait, and does not report whether
// the program could be executed. Returns 0x80070002 if the task does not exist, 0x80041326 if it is disabled or cannot
// be started on demand.
HRESULT run(const std::u16string& name);

// The names of the tasks that the caller may read, sorted.
std::vector<std::u16string> list(bool isAdministrator);
// The last run and the exit code of its action. A task whose action has not ended has the result SCHED_S_TASK_RUNNING,
// also if something has killed the shell that waits for it.
Run lastRun(const std::u16string& name);

}  // namespace platform::tasks
