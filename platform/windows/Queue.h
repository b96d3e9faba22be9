// The message queue of a thread: posted messages, timers, requests from outside, and who is active in it.
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

// Windows takes this many posted messages and no more.
constexpr std::size_t kMostPostedMessages = 10000;

struct Timer {
    HWND window = nullptr;
    UINT_PTR id = 0;
    UINT periodMs = 0;
    std::uint64_t due = 0;  // in ticks
};

// `posted`, `requests` and `quit` are shared and guarded by waiting::lock(); the rest is the thread's own.
struct Queue {
    std::deque<MSG> posted;
    std::deque<std::function<void()>> requests;  // run on the thread before it gets its next message
    std::optional<int> quit;

    std::vector<Timer> timers;
    std::vector<HWND> windows;  // all of the thread, in the order they were made
    HWND active = nullptr;
    HWND focus = nullptr;
    const DWORD threadId = static_cast<DWORD>(gettid());
};

// Of the calling thread; made on first need, gone with the thread.
const std::shared_ptr<Queue>& currentQueue();
// False when the queue is full.
bool post(Queue& queue, const MSG& message);
// Runs `request` on the queue's thread, the next time that it looks for a message.
void request(Queue& queue, std::function<void()> run);
// What a higher floor does whenever a thread has no message left, before it waits. To be set before the first thread.
using IdleCall = void (*)();
void callWhenIdle(IdleCall call);
// Drops what is still on the way to a window that is gone.
void forgetWindow(Queue& queue, HWND window);

}  // namespace platform
