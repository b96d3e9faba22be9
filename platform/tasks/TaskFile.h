// Scheduled tasks as the machine folder keeps them: tasks/<name>.txt, which a person can read. Nothing watches the
// triggers: to let one fire, run the task with vellum-fire-task.
#pragma once

#include <tasktriggers.h>

#include <deque>
#include <optional>
#include <string>

namespace platform::tasks {

// With the values that the scheduler of Windows begins with.
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

// All three give E_INVALIDARG or the error of the name where the name, or a text of the task, is none that can be kept,
// and E_ACCESSDENIED or the file's error where the file is out of reach.

// Makes the task, or replaces the one of that name, in one step.
HRESULT save(const std::u16string& name, const Task& task);
// 0x80070002 when there is none.
HRESULT remove(const std::u16string& name);
// Starts the action as LocalSystem, in a process that belongs to nobody and has no standard streams, and does not wait.
// Whether the program can be executed is not looked at. 0x80070002 when there is no such task, 0x80041326 when it is
// disabled or not to be started on demand.
HRESULT run(const std::u16string& name);

}  // namespace platform::tasks
