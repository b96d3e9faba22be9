// What `vellumctl status` finds out about this computer. What cannot be read is said in the place where it belongs; the
// rest is gathered all the same.
#pragma once

#include <string>
#include <vector>

#include "common/WideText.h"

namespace ctl {

struct TaskState {
    WideString name;
    WideString instance;
    std::string lastRun;  // UTC; empty if the task has not run
    LONG lastResult = 0;  // of the scheduler, or the exit code of the last run
    std::string problem;  // not empty if the result could not be read
    bool hasFailed() const;
};

enum class Display { Runs, Missing, Unknown };

struct InstanceState {
    WideString instance;
    Display display = Display::Missing;
};

// A session that a user is logged on to.
struct SessionState {
    DWORD session = 0;
    WideString user;
    std::string state;
    std::vector<InstanceState> instances;
};

// A running process of Vellumd.
struct Copy {
    DWORD process = 0;
    DWORD session = 0;
    WideString path;
    std::string version;
    std::string problem;  // not empty if the version could not be read
};

// The lines of today, local time.
struct LogState {
    std::string since;                 // UTC
    std::vector<std::string> refused;  // files of notes, each with the last reason
    std::size_t failures = 0;          // other warnings and errors
    std::string lastFailure;
    std::vector<std::string> problems;  // files that could not be read
};

template <typename Item>
struct Listing {
    std::vector<Item> items;
    std::string problem;  // not empty if they could not be listed
};

struct Status {
    Listing<TaskState> tasks;
    Listing<SessionState> sessions;
    Listing<Copy> copies;
    LogState log;
};

Listing<TaskState> readTasks();
Listing<Copy> readCopies();
LogState readTodaysLogs();

Status gatherStatus();

// What needs attention, a line each.
std::vector<std::string> findingsOf(const Status& status);

// "Windows error 5".
std::string errorText(DWORD error);

}  // namespace ctl
