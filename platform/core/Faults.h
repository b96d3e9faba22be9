// The faults that the gate injects. Tests arm them through testing/Faults.h.
#pragma once

#include <windef.h>

#include <string>
#include <string_view>

namespace platform::faults {

enum class Action {
    Fail,   // the call fails with the error `value`
    Short,  // a read or write moves at most `value` bytes
    Delay,  // the call starts `value` milliseconds late
    Kill,   // the process ends at once, as if killed from outside
    Hold,   // the call blocks until the fault is disarmed, so that a test can act on another thread meanwhile
};

struct Fault {
    std::string call;  // "*" matches every call; for Fail and Short, every call that can fail that way
    unsigned use = 1;  // 1: the first call after arming; 0: every call
    Action action = Action::Fail;
    DWORD value = 31;  // ERROR_GEN_FAILURE
};

void arm(Fault fault);
// Disarms all faults for this name and releases the calls that they hold. Keeps the counters.
void disarm(std::string_view call);
// Disarms everything and resets the counters.
void clear();
// Whether any fault was injected since clear().
bool fired();
// How often the function was called since the process started or clear() was called.
unsigned uses(std::string_view call);

}  // namespace platform::faults
