// How processes of one machine reach each other's windows: each process with windows listens on a socket in the folder
// "desktops/<session>" of the machine. A request is one line, the answer all that comes until the end. Messages to all
// windows of a session go this way; every other line is for the driver, which docs/platform.md tells of.
#pragma once

#include <functional>
#include <string>

namespace platform::remote {

// Listens from the first call on, for the windows of the calling thread. Lines are answered on that thread.
void listen();

// Answers what is no broadcast. To be set before the first window.
using Driver = std::string (*)(const std::string& line);
void driveWith(Driver answer);

// Sends the request to every process with windows in the session of this one, and hands each answer to `answered`
// together with the process's number. Processes that do not answer are passed over.
void ask(const std::string& request, bool alsoThisProcess,
         const std::function<void(int processId, const std::string& answer)>& answered = {});

// Sends the request to one process; what it answers, empty when it does not.
std::string askProcess(int processId, const std::string& request);

}  // namespace platform::remote
