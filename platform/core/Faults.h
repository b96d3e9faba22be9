// Faults that the gate carries out. testing/Faults.h is the whole of what a test arms them with.
#pragma once

#include <windef.h>

#include <string>
#include <string_view>

namespace platform::faults {

enum class Action {
    Fail,   // the call fails with the error `value`
    Short,  // a read or write moves at most `value` bytes
    Delay,  // the call starts `value` milliseconds later
    Kill,   // the process ends at once, as if it were killed from outside
    Hold,   // the call starts when the fault is disarmed; for tests of what happens meanwhile on another thread
};

struct Fault {
    std::string call;  // "*" matches every call, with Fail and Short every call that can fail in that way
    unsigned use = 1;  // counted from the moment of arming; 0 means every use
    Action action = Action::Fail;
    DWORD value = 31;  // ERROR_GEN_FAILURE
};

void arm(Fault fault);
// Disarms what was armed for this name, and lets the calls go on that it holds. The counts stay.
void disarm(std::string_view call);
// Disarms everything. Also resets the counts.
void clear();
// Whether any armed fault was carried out since clear().
bool fired();
// How often the call was used since the process started or clear() was called.
unsigned uses(std::string_view call);

}  // namespace platform::faults
