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
    // The same rectangle may be added many times, and is taken until it was removed as often.
    void add(const RECT& rect);
    void remove(const RECT& rect);
    // Whether `rect` intersects none of them. `except`, which may be null, is left out once.
    bool isFree(const RECT& rect, const RECT* except = nullptr) const;

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
    bool hits(const RECT& taken, const RECT& rect, const RECT* except) const;

    std::unordered_map<RECT, std::size_t, Hash, Equal> counts_;
    std::unordered_map<Cell, std::vector<RECT>> cells_;
    std::vector<RECT> large_;
};
