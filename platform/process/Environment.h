// The environment of the process: that of Linux, over what machine.txt gives every process.
#pragma once

namespace platform {

void resetEnvironment();  // after a move to another machine

}  // namespace platform
