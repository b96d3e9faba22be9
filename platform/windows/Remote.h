// Connects the windows of the processes on one machine. Each process with windows listens on a socket in
// "desktops/<session>" of the machine folder. A request is one line; the answer is everything up to the end of the
// stream. Broadcast messages use this way. All other lines are commands for the driver (docs/platform.md).
#pragma once

#include <functional>
#include <string>

namespace platform::remote {

// The first call starts to listen, for the windows of the calling thread. That thread answers the requests.
void listen();

// Answers every request that is not a broadcast. Set it before the first window is created.
using Driver = std::string (*)(const std::string& line);
void driveWith(Driver answer);

// Sends the request to every process with windows in this session. Calls `answered` with each process id and answer.
// Skips processes that do not answer.
void ask(const std::string& request, bool alsoThisProcess,
         const std::function<void(int processId, const std::string& answer)>& answered = {});

// Sends the request to one process and returns its answer; empty if it does not answer.
std::string askProcess(int processId, const std::string& request);

}  // namespace platform::remote
