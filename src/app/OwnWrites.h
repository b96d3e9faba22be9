// Which files this process has written lately. The watcher reports those writes too, and such a report must not load
// the note again. Times are ticks in milliseconds that only grow (GetTickCount64), taken by the caller.
#pragma once

#include <cstdint>

#include "common/OrderedMap.h"

class OwnWrites {
  public:
    static constexpr std::uint64_t kIgnoreMs = 3000;  // reports of a file younger than this are our own
    static constexpr std::uint64_t kForgetMs = 5000;  // older entries are of no use

    // To be called before the write, so that no report of it comes too early.
    void mark(WideView path, std::uint64_t now) { ticks_.set(path, now); }
    bool isOwn(WideView path, std::uint64_t now) const {
        const std::uint64_t* const written = ticks_.find(path);
        return written != nullptr && now - *written < kIgnoreMs;
    }
    void forget(WideView path) { ticks_.erase(path); }
    void forgetOlder(std::uint64_t now) {
        ticks_.eraseIf([now](std::uint64_t written) { return now - written > kForgetMs; });
    }
    std::size_t size() const { return ticks_.size(); }

  private:
    OrderedMap<std::uint64_t> ticks_;  // full path of a file to the tick of our last write of it
};
