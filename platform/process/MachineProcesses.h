// The processes of the machine, found in /proc: those whose environment names its folder. The shells that machine.txt
// describes are not among them.
#pragma once

#include <windef.h>

#include <string>
#include <vector>

#include "machine/Machine.h"

namespace platform {

struct MachineProcess {
    DWORD id = 0;
    Token token;  // as the process got it when it started
    std::string image;
};

std::vector<MachineProcess> machineProcesses();
// False if no process of the machine has this process id.
bool findMachineProcess(DWORD processId, MachineProcess& process);

}  // namespace platform
