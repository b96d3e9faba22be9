// Recovery passes as processes, and the displays that they start. Those displays have no parent any more.
#pragma once

#include "machine/support/RoleProcess.h"
#include "machine/support/StoreFixture.h"

class PassMachine : public StoreMachine {
  protected:
    ~PassMachine() override { endProcesses(); }

    // A desktop can be reached only from its own session.
    static std::string ask(DWORD session, pid_t id, const std::string& request) {
        platform::useToken("operator@" + std::to_string(session));
        const std::string answer = platform::remote::askProcess(id, request);
        platform::useToken("operator@1");
        return answer;
    }
    // The processes that show windows in a session.
    std::vector<pid_t> displays(DWORD session = 1) const {
        std::vector<pid_t> found = processesIn(session);
        std::erase_if(found, [session](pid_t id) { return ask(session, id, "list").empty(); });
        return found;
    }
    static RoleArguments recover() { return {"--applet-recover", "--log-level", "debug"}; }
};
