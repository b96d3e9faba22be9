#include "window/OccupiedPlaces.h"

#include <algorithm>

#include "window/Placement.h"

namespace {

constexpr int kCellShift = 8;  // cells of 256 pixels
constexpr std::int64_t kMostCells = 256;

bool same(const RECT& one, const RECT& other) {
    return one.left == other.left && one.top == other.top && one.right == other.right && one.bottom == other.bottom;
}

}  // namespace

std::size_t OccupiedPlaces::Hash::operator()(const RECT& rect) const {
    std::uint64_t hash = 0;
    for (const LONG side : {rect.left, rect.top, rect.right, rect.bottom})
        hash = (hash ^ static_cast<std::uint32_t>(side)) * 0x9E3779B97F4A7C15U;
    return static_cast<std::size_t>(hash ^ (hash >> 32));
}

bool OccupiedPlaces::Equal::operator()(const RECT& one, const RECT& other) const {
    return same(one, other);
}

std::vector<OccupiedPlaces::Cell> OccupiedPlaces::cellsOf(const RECT& rect) {
    const std::int64_t left = rect.left >> kCellShift, right = (rect.right - 1) >> kCellShift;
    const std::int64_t top = rect.top >> kCellShift, bottom = (rect.bottom - 1) >> kCellShift;
    std::vector<Cell> cells;
    if ((right - left + 1) * (bottom - top + 1) > kMostCells) return cells;
    for (std::int64_t x = left; x <= right; ++x)
        for (std::int64_t y = top; y <= bottom; ++y)
            cells.push_back(static_cast<Cell>(x) << 32 | (static_cast<Cell>(y) & 0xffffffffU));
    return cells;
}

void OccupiedPlaces::set(const void* owner, const RECT& rect) {
    remove(owner);
    if (!intersect(rect, rect)) return;
    owners_.emplace(owner, rect);
    if (++counts_[rect] == 1) enter(rect);
}

void OccupiedPlaces::remove(const void* owner) {
    const auto found = owners_.find(owner);
    if (found == owners_.end()) return;
    const RECT rect = found->second;
    owners_.erase(found);
    if (--counts_.at(rect) > 0) return;
    counts_.erase(rect);
    leave(rect);
}

void OccupiedPlaces::enter(const RECT& rect) {
    const std::vector<Cell> cells = cellsOf(rect);
    if (cells.empty()) large_.push_back(rect);
    for (const Cell cell : cells)
        cells_[cell].push_back(rect);
}

void OccupiedPlaces::leave(const RECT& rect) {
    const auto isIt = [&](const RECT& other) { return same(rect, other); };
    const std::vector<Cell> cells = cellsOf(rect);
    if (cells.empty()) std::erase_if(large_, isIt);
    for (const Cell cell : cells) {
        std::vector<RECT>& there = cells_[cell];
        std::erase_if(there, isIt);
        if (there.empty()) cells_.erase(cell);
    }
}

bool OccupiedPlaces::isFree(const RECT& rect, const void* except) const {
    const auto own = owners_.find(except);
    // The one that is left out is in the way all the same where another has just its place.
    const RECT* const ignored = own != owners_.end() && counts_.at(own->second) == 1 ? &own->second : nullptr;
    const auto isHit = [&](const RECT& taken) {
        return intersect(taken, rect) && (ignored == nullptr || !same(taken, *ignored));
    };
    if (!intersect(rect, rect)) return true;
    if (std::any_of(large_.begin(), large_.end(), isHit)) return false;
    const std::vector<Cell> cells = cellsOf(rect);
    if (cells.empty())
        return std::none_of(counts_.begin(), counts_.end(), [&](const auto& taken) { return isHit(taken.first); });
    return std::none_of(cells.begin(), cells.end(), [&](Cell cell) {
        const auto there = cells_.find(cell);
        return there != cells_.end() && std::any_of(there->second.begin(), there->second.end(), isHit);
    });
}
