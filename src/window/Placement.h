// Where a note appears on the screen. Plain functions on rectangles, in pixels of the virtual screen.
#pragma once

#include "common/WideText.h"

// Scales a length at 96 DPI to `dpi`, rounded to the nearest pixel.
LONG scaleToDpi(LONG length, LONG dpi);

RECT rectAt(LONG x, LONG y, LONG width, LONG height);
inline LONG widthOf(const RECT& rect) {
    return rect.right - rect.left;
}
inline LONG heightOf(const RECT& rect) {
    return rect.bottom - rect.top;
}
inline bool intersect(const RECT& one, const RECT& other) {
    return one.left < other.right && other.left < one.right && one.top < other.bottom && other.top < one.bottom &&
           one.left < one.right && one.top < one.bottom && other.left < other.right && other.top < other.bottom;
}

// The place of a note without a stored one: the top right corner of the work area, a margin away from the edges.
RECT topRightCorner(const RECT& workArea, LONG dpi, LONG width, LONG height);
// The place of a note whose stored place is on no monitor. Halves are rounded towards zero.
RECT centredIn(const RECT& workArea, LONG width, LONG height);
// Moves a rectangle into the work area, keeping its size. If it is larger than the area, it starts at the area's left
// or top edge.
RECT clampedInto(const RECT& rect, const RECT& workArea);

// The first place that `isFree` accepts, of 200 tries: 50 along each of the four diagonals from `wanted`, one diagonal
// after the other. `wanted` itself if no try is free. All tries are in the work area.
template <typename IsFree>
RECT findFreePlace(const RECT& wanted, const RECT& workArea, LONG dpi, IsFree isFree);

// The place of try number `n`, from 0 to kPlacementTries - 1.
constexpr int kPlacementTries = 200;
RECT placementTry(const RECT& wanted, const RECT& workArea, LONG dpi, int n);

template <typename IsFree>
RECT findFreePlace(const RECT& wanted, const RECT& workArea, LONG dpi, IsFree isFree) {
    for (int n = 0; n < kPlacementTries; ++n)
        if (const RECT candidate = placementTry(wanted, workArea, dpi, n); isFree(candidate)) return candidate;
    return wanted;
}
