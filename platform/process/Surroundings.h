// Where a process stands besides its token: on which desktop, and in which job. A child gets both in its environment.
#pragma once

#include <string>

namespace platform {

// As the process was given it, or that of its starter; without either what its session has: the user's desktop, and in
// session 0 that of the services, which nobody sees.
std::string processDesktop();
bool isUsersDesktop(const std::string& desktop);
// Its folder below desktops/: the session's number, and behind that the name of any other desktop than the user's.
std::string desktopFolderName();

// In the form of VELLUM_JOB; empty for no job.
std::string processJob();
// The job of a child: that of its starter, unless it leaves it. False, with the last error 5, where the job does not
// let it go, and where its session is another: all processes of a job are of one session.
bool chooseChildJob(bool leavesJob, unsigned sessionId, std::string& job);

// For tests: the desktop that a running process was given when it was started, and the job that it is in; empty where
// it has none.
std::string desktopOf(int processId);
std::string jobOf(int processId);

}  // namespace platform
