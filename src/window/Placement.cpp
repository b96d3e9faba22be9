// The arithmetic of Placement.h: no window call, no state.
#include "window/Placement.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr LONG kMargin = 12;  // between a new note and the edges of the work area
constexpr LONG kStep = 24;    // between two tries, on each axis
constexpr LONG kSmallestStep = 16;
constexpr int kTriesADirection = kPlacementTries / 4;

struct Direction {
    int x, y;
};
constexpr Direction kDirections[] = {{+1, +1}, {-1, -1}, {-1, +1}, {+1, -1}};

// Coordinates from a file can be any 32-bit numbers: sums wrap around.
LONG wrap(std::int64_t value) {
    return static_cast<LONG>(static_cast<std::uint32_t>(value));
}

RECT movedTo(const RECT& rect, LONG x, LONG y) {
    return {x, y, wrap(std::int64_t{x} + rect.right - rect.left), wrap(std::int64_t{y} + rect.bottom - rect.top)};
}

}  // namespace

LONG scaleToDpi(LONG length, LONG dpi) {
    return static_cast<LONG>((std::int64_t{length} * dpi + 48) / 96);
}

RECT rectAt(LONG x, LONG y, LONG width, LONG height) {
    return {x, y, wrap(std::int64_t{x} + width), wrap(std::int64_t{y} + height)};
}

RECT topRightCorner(const RECT& workArea, LONG dpi, LONG width, LONG height) {
    const LONG margin = scaleToDpi(kMargin, dpi);
    return rectAt(workArea.right - margin - width, workArea.top + margin, width, height);
}

RECT centredIn(const RECT& workArea, LONG width, LONG height) {
    return rectAt(workArea.left + (workArea.right - workArea.left - width) / 2,
                  workArea.top + (workArea.bottom - workArea.top - height) / 2, width, height);
}

RECT clampedInto(const RECT& rect, const RECT& workArea) {
    const std::int64_t width = std::int64_t{rect.right} - rect.left, height = std::int64_t{rect.bottom} - rect.top;
    std::int64_t x = rect.left, y = rect.top;
    x = std::min(x, workArea.right - width);
    y = std::min(y, workArea.bottom - height);
    x = std::max<std::int64_t>(x, workArea.left);
    y = std::max<std::int64_t>(y, workArea.top);
    return movedTo(rect, wrap(x), wrap(y));
}

RECT placementTry(const RECT& wanted, const RECT& workArea, LONG dpi, int n) {
    const Direction& direction = kDirections[n / kTriesADirection];
    const std::int64_t step = std::max(scaleToDpi(kStep, dpi), kSmallestStep);
    const std::int64_t distance = (n % kTriesADirection + 1) * step;
    const RECT moved =
        movedTo(wanted, wrap(wanted.left + distance * direction.x), wrap(wanted.top + distance * direction.y));
    return clampedInto(moved, workArea);
}
