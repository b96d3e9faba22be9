// How processes of one machine reach each other's windows: each process with windows listens on a socket in the folder
// "desktops/<session>" of the machine. A request is one line, the answer all that comes until the end.
#pragma once

#include <functional>
#include <string>

namespace platform::remote {

// Sends the request to every process with windows in the session of this one, and hands each answer to `answered`
// together with the process's number. Processes that do not answer are passed over.
void ask(const std::string& request, bool alsoThisProcess,
         const std::function<void(int processId, const std::string& answer)>& answered = {});

// Sends the request to one process; what it answers, empty when it does not.
std::string askProcess(int processId, const std::string& request);

}  // namespace platform::remote
