// Recovery passes as processes, and the displays that they start, which are nobody's children any more.
#pragma once

#include "RoleProcess.h"
#include "StoreFixture.h"

class PassMachine : public StoreMachine {
  protected:
    ~PassMachine() override { endProcesses(); }

    fs::path sockets(DWORD session) const { return folder() / "desktops" / std::to_string(session); }
    // Only from its own session can a desktop be reached.
    static std::string ask(DWORD session, pid_t id, const std::string& request) {
        platform::useToken("operator@" + std::to_string(session));
        const std::string answer = platform::remote::askProcess(id, request);
        platform::useToken("operator@1");
        return answer;
    }
    // The processes that show something in a session.
    std::vector<pid_t> displays(DWORD session = 1) const {
        std::vector<pid_t> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(sockets(session), error)) {
            const pid_t id = std::atoi(entry.path().filename().c_str());
            if (id > 0 && kill(id, 0) == 0 && !ask(session, id, "list").empty()) found.push_back(id);
        }
        return found;
    }
    static RoleArguments recover() { return {"--applet-recover", "--log-level", "debug"}; }
};
