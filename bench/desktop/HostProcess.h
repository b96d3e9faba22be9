// What Linux knows of a process that runs under Wine, which itself tells nothing of that: Z: shows /proc.
#pragma once

#include <string>

struct Activity {
    double cpuMilliseconds = 0;
    double wakeUps = 0;  // how often a thread went to sleep, and so was woken
};

// Of all threads, from their start; zeros where there is no such process, as on Windows.
Activity hostActivity(const std::string& executable);
