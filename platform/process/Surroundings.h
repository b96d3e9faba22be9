// The desktop and the job that a process belongs to. A child gets both through its environment.
#pragma once

#include <string>

namespace platform {

// The desktop that was given to this process or to its parent. Otherwise the session's default: the user's desktop, or
// in session 0 the invisible desktop of the services.
std::string processDesktop();
bool isUsersDesktop(const std::string& desktop);
// The folder of the desktop below desktops/: the session number, followed by the desktop's name if it is not the
// user's.
std::string desktopFolderName();

// The job in the form of VELLUM_JOB; empty if there is none.
std::string processJob();
// The job of a new child: the parent's job, unless the child breaks away. False, with error 5, if the job forbids the
// break-away or the child runs in another session: a job cannot span sessions.
bool chooseChildJob(bool leavesJob, unsigned sessionId, std::string& job);

// A variable of any process, as it was when that process started. Empty if it is not set or the process is gone.
std::string variableOf(int processId, const std::string& name);

// For tests: the desktop that was given to a running process at its start, and its job. Empty if it has none.
std::string desktopOf(int processId);
std::string jobOf(int processId);

}  // namespace platform
