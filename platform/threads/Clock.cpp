#include <winbase.h>

#include <atomic>
#include <chrono>
#include <ctime>

#include "Gate.h"
#include "Machine.h"
#include "threads/Clock.h"
#include "threads/Waiting.h"

namespace platform {
namespace {

std::atomic<bool> taken{false};
std::atomic<std::int64_t> testTime{0};

// Under the lock, so that no thread that is about to sleep misses the change.
void change(bool takes, std::int64_t milliseconds) {
    {
        std::lock_guard hold(waiting::lock());
        testTime = milliseconds;
        taken = takes;
    }
    waiting::wake();
}

SYSTEMTIME systemTime(bool local) {
    const std::int64_t milliseconds = clock::now();
    const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts = {};
    if (local)
        localtime_r(&seconds, &parts);
    else
        gmtime_r(&seconds, &parts);
    const auto word = [](std::int64_t value) { return static_cast<WORD>(value); };
    return {word(parts.tm_year + 1900), word(parts.tm_mon + 1), word(parts.tm_wday), word(parts.tm_mday),
            word(parts.tm_hour),        word(parts.tm_min),     word(parts.tm_sec),  word(milliseconds % 1000)};
}

}  // namespace

std::int64_t clock::now() {
    using namespace std::chrono;
    if (taken) return testTime;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

bool clock::standsStill() {
    return taken;
}

void clock::set(std::int64_t milliseconds) {
    change(true, milliseconds);
}

void clock::advance(std::int64_t milliseconds) {
    change(taken, testTime + milliseconds);
}

void clock::useRealTime() {
    change(false, 0);
}

}  // namespace platform

void GetSystemTime(LPSYSTEMTIME time) {
    static constinit platform::CallSite site{__func__};
    site.pass();
    *time = platform::systemTime(false);
}

void GetLocalTime(LPSYSTEMTIME time) {
    static constinit platform::CallSite site{__func__};
    site.pass();
    *time = platform::systemTime(true);
}
