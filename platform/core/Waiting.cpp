// The lock and the condition variable that every wait uses. Called on any thread.
#include "core/Waiting.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <set>

#include "core/Clock.h"

namespace platform {
namespace {

using namespace std::chrono;

constexpr std::uint32_t kInfinite = 0xffffffff;

std::condition_variable& changed() {
    static std::condition_variable& instance =
        *new std::condition_variable;  // never destroyed: threads may outlive main()
    return instance;
}

// The deadlines of the threads that sleep while a test controls the clock. Guarded by lock().
std::multiset<std::uint64_t>& deadlines() {
    static std::multiset<std::uint64_t>& instance = *new std::multiset<std::uint64_t>;
    return instance;
}

}  // namespace

std::uint64_t waiting::ticks() {
    if (clock::standsStill()) return static_cast<std::uint64_t>(clock::now());
    return static_cast<std::uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::mutex& waiting::lock() {
    static std::mutex& instance = *new std::mutex;
    return instance;
}

void waiting::wake() {
    changed().notify_all();
}

void waiting::sleep(std::unique_lock<std::mutex>& held, std::uint64_t deadline) {
    if (deadline == kNever || clock::standsStill()) {
        const auto mine = deadlines().insert(deadline);
        changed().wait(held);
        deadlines().erase(mine);
        return;
    }
    const std::uint64_t now = ticks();
    if (now < deadline) changed().wait_for(held, milliseconds(std::min<std::uint64_t>(deadline - now, 86'400'000)));
}

bool waiting::isTimeAwaited() {
    std::lock_guard hold(lock());
    const auto next = deadlines().upper_bound(ticks());
    return next != deadlines().end() && *next != kNever;
}

std::uint64_t waiting::deadlineAfter(std::uint32_t milliseconds) {
    return milliseconds == kInfinite ? kNever : ticks() + milliseconds;
}

}  // namespace platform
