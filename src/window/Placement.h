// Where a note goes on the screen: arithmetic on rectangles in pixels, without any window.
#pragma once

#include "common/WideText.h"

// `length` is meant for 96 DPI; rounded to the nearest pixel.
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

// A note without a stored place: in the top right corner, a margin away from the edges.
RECT topRightCorner(const RECT& workArea, LONG dpi, LONG width, LONG height);
// A note whose stored place is on no monitor. The halves are rounded towards zero.
RECT centredIn(const RECT& workArea, LONG width, LONG height);
// Moved into the work area at its size; what is larger than the area begins at its left and top edge.
RECT clampedInto(const RECT& rect, const RECT& workArea);

// The nearest place, on one of the four diagonals through `wanted`, that `isFree` accepts; `wanted` itself when 200
// tries fail. All tries lie in the work area.
template <typename IsFree>
RECT findFreePlace(const RECT& wanted, const RECT& workArea, LONG dpi, IsFree isFree);

// The n-th try, n from 0 to kPlacementTries - 1.
constexpr int kPlacementTries = 200;
RECT placementTry(const RECT& wanted, const RECT& workArea, LONG dpi, int n);

template <typename IsFree>
RECT findFreePlace(const RECT& wanted, const RECT& workArea, LONG dpi, IsFree isFree) {
    for (int n = 0; n < kPlacementTries; ++n)
        if (const RECT candidate = placementTry(wanted, workArea, dpi, n); isFree(candidate)) return candidate;
    return wanted;
}
