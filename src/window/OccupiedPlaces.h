// Which places on the screen are taken, for the many questions that a new note asks. Gives the answers that a look at
// every rectangle would give; what it costs depends on how many different rectangles lie near, not on how many there
// are.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "common/WideText.h"

class OccupiedPlaces {
  public:
    // `owner` is a name only; one owner holds one place. An empty rectangle takes none.
    void set(const void* owner, const RECT& rect);
    void remove(const void* owner);
    // Whether `rect` intersects no place of another owner than `except`, which may be null.
    bool isFree(const RECT& rect, const void* except = nullptr) const;

  private:
    struct Hash {
        std::size_t operator()(const RECT& rect) const;
    };
    struct Equal {
        bool operator()(const RECT& one, const RECT& other) const;
    };
    using Cell = std::uint64_t;
    // The cells that a rectangle touches; none for one so large that every question looks at it.
    static std::vector<Cell> cellsOf(const RECT& rect);
    void enter(const RECT& rect);
    void leave(const RECT& rect);

    std::unordered_map<const void*, RECT> owners_;
    std::unordered_map<RECT, std::size_t, Hash, Equal> counts_;  // how many owners have just this rectangle
    std::unordered_map<Cell, std::vector<RECT>> cells_;
    std::vector<RECT> large_;
};
