// Events, waits, Sleep and the tick clock.
#include <windows.h>

#include <algorithm>
#include <vector>

#include "core/Clock.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "core/Waitable.h"
#include "core/Waiting.h"

using namespace platform;

namespace {

constexpr std::uint64_t kPollMs = 5;

void setSignal(Event& event, bool on) {
    {
        std::lock_guard hold(waiting::lock());
        event.signalled = on;
    }
    waiting::wake();
}

// If several objects are signalled, the first one wins.
DWORD waitForAny(const std::vector<std::shared_ptr<Waitable>>& objects, DWORD milliseconds) {
    std::size_t first = 0;
    const auto ready = [&] {
        const auto found =
            std::find_if(objects.begin(), objects.end(), [](const auto& object) { return object->isReady(); });
        first = static_cast<std::size_t>(found - objects.begin());
        return found != objects.end();
    };
    const bool polled =
        std::any_of(objects.begin(), objects.end(), [](const auto& object) { return object->isPolled(); });
    const std::uint64_t deadline = waiting::deadlineAfter(milliseconds);
    std::unique_lock held(waiting::lock());
    bool isReady = false;
    do {
        const std::uint64_t next = polled ? std::min(deadline, waiting::ticks() + kPollMs) : deadline;
        isReady = waiting::sleepUntil(held, next, ready);
    } while (!isReady && waiting::ticks() < deadline);
    return isReady ? WAIT_OBJECT_0 + static_cast<DWORD>(first) : WAIT_TIMEOUT;
}

}  // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL signalled, LPCWSTR name) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    if (!manualReset || name != nullptr)  // other kinds of events are not supported
        return refuse(ERROR_INVALID_PARAMETER);
    const auto event = std::make_shared<Event>();
    event->signalled = signalled != FALSE;
    return openHandle(event);
}

BOOL SetEvent(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto event = find<Event>(handle);
    if (event == nullptr) return FALSE;
    setSignal(*event, true);
    return TRUE;
}

BOOL ResetEvent(HANDLE handle) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto event = find<Event>(handle);
    if (event == nullptr) return FALSE;
    setSignal(*event, false);
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    static constinit CallSite site{__func__};
    if (site.fails()) return WAIT_FAILED;
    const auto object = find<Waitable>(handle);
    return object == nullptr ? WAIT_FAILED : waitForAny({object}, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
    static constinit CallSite site{__func__};
    if (site.fails()) return WAIT_FAILED;
    if (all)  // waiting for all objects is not supported
        return refuse(ERROR_INVALID_PARAMETER, WAIT_FAILED);
    std::vector<std::shared_ptr<Waitable>> objects;
    for (DWORD i = 0; i < count; ++i) {
        objects.push_back(find<Waitable>(handles[i]));
        if (objects.back() == nullptr) return WAIT_FAILED;
    }
    return waitForAny(objects, milliseconds);
}

// While a test controls the clock, Sleep moves it, since the test's own thread would wait forever.
void Sleep(DWORD milliseconds) {
    static constinit CallSite site{__func__};
    site.pass();
    if (clock::standsStill()) return clock::advance(milliseconds);
    const std::uint64_t deadline = waiting::deadlineAfter(milliseconds);
    std::unique_lock held(waiting::lock());
    waiting::sleepUntil(held, deadline, [] { return false; });
}

ULONGLONG GetTickCount64() {
    static constinit CallSite site{__func__};
    site.pass();
    return waiting::ticks();
}
