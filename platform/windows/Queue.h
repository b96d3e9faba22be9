// The message queue of a thread: posted messages, timers, requests from other threads, and the active window.
#pragma once

#include <unistd.h>
#include <windows.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

// The limit of posted messages on Windows.
constexpr std::size_t kMostPostedMessages = 10000;

struct Timer {
    HWND window = nullptr;
    UINT_PTR id = 0;
    UINT periodMs = 0;
    std::uint64_t due = 0;  // tick count
};

// waiting::lock() guards `posted`, `requests` and `quit`. Only the thread itself uses the rest.
struct Queue {
    std::deque<MSG> posted;
    std::deque<std::function<void()>> requests;  // the thread runs them before it gets its next message
    std::optional<int> quit;

    std::vector<Timer> timers;
    std::vector<HWND> windows;  // all windows of the thread in creation order
    HWND active = nullptr;
    HWND focus = nullptr;
    const DWORD threadId = static_cast<DWORD>(gettid());
};

// The queue of the calling thread. Created when first needed, destroyed with the thread.
const std::shared_ptr<Queue>& currentQueue();
// Returns false if the queue is full.
bool post(Queue& queue, const MSG& message);
// Runs `request` on the queue's thread when it next looks for a message.
void request(Queue& queue, std::function<void()> run);
// Sets the call that a thread makes when its queue is empty, before it waits. Set it before the first thread starts.
using IdleCall = void (*)();
void callWhenIdle(IdleCall call);
// Drops the timers and messages of a destroyed window.
void forgetWindow(Queue& queue, HWND window);

}  // namespace platform
