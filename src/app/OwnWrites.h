// Which files this process has written recently. The watcher reports those writes too, and they must not load the note
// again. `now` is the time in milliseconds from a clock that never goes back (GetTickCount64).
#pragma once

#include <cstdint>

#include "common/OrderedMap.h"

class OwnWrites {
  public:
    static constexpr std::uint64_t kIgnoreMs = 3000;  // a report this soon after our write is about our write
    static constexpr std::uint64_t kForgetMs = 5000;  // older entries are removed

    // Call before the write, so that the report cannot arrive first.
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
    OrderedMap<std::uint64_t> ticks_;  // full path -> time of our last write
};
