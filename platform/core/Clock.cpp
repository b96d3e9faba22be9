#include "core/Clock.h"

#include <atomic>
#include <chrono>

#include "core/Waiting.h"

namespace platform {
namespace {

std::atomic<bool> taken{false};
std::atomic<std::int64_t> testTime{0};

// Holds the waiting lock, so that a thread about to sleep does not miss the change.
void change(bool takes, std::int64_t milliseconds) {
    {
        std::lock_guard hold(waiting::lock());
        testTime = milliseconds;
        taken = takes;
    }
    waiting::wake();
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
