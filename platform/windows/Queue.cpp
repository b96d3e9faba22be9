// Message queues and the message loop. Each thread has one queue. Other threads post to it under waiting::lock().
#include "windows/Queue.h"

#include <algorithm>

#include "core/Error.h"
#include "core/Gate.h"
#include "core/Waiting.h"
#include "windows/Window.h"

namespace platform {
namespace {

constexpr UINT kShortestTimerMs = 10;

MSG makeMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return {window, message, wParam, lParam, static_cast<DWORD>(waiting::ticks()), {}};
}

// Takes what other threads have queued: first requests, then posted messages, then WM_QUIT.
bool takePosted(Queue& queue, MSG& message) {
    std::unique_lock held(waiting::lock());
    while (!queue.requests.empty()) {
        const std::function<void()> run = std::move(queue.requests.front());
        queue.requests.pop_front();
        held.unlock();
        run();
        held.lock();
    }
    if (!queue.posted.empty()) {
        message = queue.posted.front();
        queue.posted.pop_front();
        return true;
    }
    if (!queue.quit) return false;
    message = makeMessage(nullptr, WM_QUIT, static_cast<WPARAM>(*queue.quit), 0);
    queue.quit.reset();
    return true;
}

bool isShown(const Window& window) {
    if (!window.visible) return false;
    if (window.parent == nullptr) return true;
    const std::shared_ptr<Window> parent = findWindow(window.parent);
    return parent != nullptr && isShown(*parent);
}

bool takePaint(const Queue& queue, MSG& message) {
    for (const HWND handle : queue.windows) {
        const std::shared_ptr<Window> window = findWindow(handle);
        if (window == nullptr || !window->invalid || !isShown(*window)) continue;
        message = makeMessage(handle, WM_PAINT, 0, 0);
        return true;
    }
    return false;
}

// However late it is, a timer gives one message and restarts from now.
bool takeTimer(Queue& queue, MSG& message) {
    const std::uint64_t now = waiting::ticks();
    const auto due = std::min_element(queue.timers.begin(), queue.timers.end(),
                                      [](const Timer& one, const Timer& other) { return one.due < other.due; });
    if (due == queue.timers.end() || due->due > now) return false;
    due->due = now + due->periodMs;
    message = makeMessage(due->window, WM_TIMER, due->id, 0);
    return true;
}

bool take(Queue& queue, MSG& message) {
    return takePosted(queue, message) || takePaint(queue, message) || takeTimer(queue, message);
}

constinit IdleCall idleCall = nullptr;

void waitForWork(Queue& queue) {
    if (idleCall != nullptr) idleCall();
    std::uint64_t deadline = waiting::kNever;
    for (const Timer& timer : queue.timers)
        deadline = std::min(deadline, timer.due);
    std::unique_lock held(waiting::lock());
    waiting::sleepUntil(held, deadline, [&] { return !queue.posted.empty() || !queue.requests.empty() || queue.quit; });
}

}  // namespace

const std::shared_ptr<Queue>& currentQueue() {
    thread_local const std::shared_ptr<Queue> queue = std::make_shared<Queue>();
    return queue;
}

bool post(Queue& queue, const MSG& message) {
    {
        std::lock_guard hold(waiting::lock());
        if (queue.posted.size() >= kMostPostedMessages) return false;
        queue.posted.push_back(message);
    }
    waiting::wake();
    return true;
}

void request(Queue& queue, std::function<void()> run) {
    {
        std::lock_guard hold(waiting::lock());
        queue.requests.push_back(std::move(run));
    }
    waiting::wake();
}

void callWhenIdle(IdleCall call) {
    idleCall = call;
}

void forgetWindow(Queue& queue, HWND window) {
    std::erase_if(queue.timers, [&](const Timer& timer) { return timer.window == window; });
    std::erase(queue.windows, window);
    if (queue.active == window) queue.active = nullptr;
    if (queue.focus == window) queue.focus = nullptr;
    // A dropped message may own what its lParam points to. Windows cannot free that memory either. Keeping the messages
    // reachable stops the leak checker from blaming the sender.
    static std::vector<MSG>& lost = *new std::vector<MSG>;
    std::lock_guard hold(waiting::lock());
    std::ranges::copy_if(queue.posted, std::back_inserter(lost),
                         [&](const MSG& message) { return message.hwnd == window && message.lParam != 0; });
    std::erase_if(queue.posted, [&](const MSG& message) { return message.hwnd == window; });
}

}  // namespace platform

using namespace platform;

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> target = findWindow(window);
    if (target == nullptr) return FALSE;
    if (post(*target->queue, makeMessage(window, message, wParam, lParam))) return TRUE;
    return refuse(ERROR_NOT_ENOUGH_QUOTA);
}

void PostQuitMessage(int exitCode) {
    static constinit CallSite site{__func__};
    site.pass();
    {
        std::lock_guard hold(waiting::lock());
        currentQueue()->quit = exitCode;
    }
    waiting::wake();
}

BOOL GetMessageW(LPMSG message, HWND, UINT, UINT) {
    static constinit CallSite site{__func__};
    if (site.fails()) return -1;
    while (!take(*currentQueue(), *message))
        waitForWork(*currentQueue());
    return message->message != WM_QUIT;
}

BOOL PeekMessageW(LPMSG message, HWND, UINT, UINT, UINT) {
    static constinit CallSite site{__func__};
    site.pass();
    return take(*currentQueue(), *message);
}

BOOL TranslateMessage(const MSG*) {
    static constinit CallSite site{__func__};
    site.pass();
    return FALSE;  // WM_CHAR is posted directly, so there is nothing to translate
}

LRESULT DispatchMessageW(const MSG* message) {
    static constinit CallSite site{__func__};
    site.pass();
    if (message->hwnd == nullptr) return 0;
    const std::shared_ptr<Window> window = findWindow(message->hwnd);
    return window == nullptr ? 0 : callWindow(*window, message->message, message->wParam, message->lParam);
}

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT periodMs, TIMERPROC) {
    static constinit CallSite site{__func__};
    if (site.fails() || findWindow(window) == nullptr) return 0;
    std::vector<Timer>& timers = currentQueue()->timers;
    std::erase_if(timers, [&](const Timer& timer) { return timer.window == window && timer.id == id; });
    const UINT period = std::max(periodMs, kShortestTimerMs);
    timers.push_back({window, id, period, waiting::ticks() + period});
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    static constinit CallSite site{__func__};
    if (site.fails() || findWindow(window) == nullptr) return FALSE;
    return std::erase_if(currentQueue()->timers,
                         [&](const Timer& timer) { return timer.window == window && timer.id == id; }) > 0;
}
