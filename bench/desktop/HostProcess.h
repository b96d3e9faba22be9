// What Linux reports about a process under Wine, read from /proc through drive Z: (Wine itself does not report it).
#pragma once

#include <string>

struct Activity {
    double cpuMilliseconds = 0;
    double wakeUps = 0;  // voluntary context switches; each one ends with a wake-up
};

// The sums over all threads since their start. Zeros if there is no such process, as on Windows.
Activity hostActivity(const std::string& executable);
