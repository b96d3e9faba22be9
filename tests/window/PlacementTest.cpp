// Note placement: arithmetic on plain rectangles.
#include "window/Placement.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr RECT kDesktop = {0, 0, 1920, 1040};
constexpr RECT kLeftOfPrimary = {-2560, -400, 0, 1040};

std::vector<LONG> sides(const RECT& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

}  // namespace

TEST(Placement, newNotesGoToTheTopRightCorner) {
    const std::tuple<RECT, LONG, LONG, LONG, LONG, LONG> rows[] = {
        {kDesktop, 96, 260, 260, 1648, 12},   {kDesktop, 144, 260, 260, 1642, 18},
        {kDesktop, 192, 260, 260, 1636, 24},  {kLeftOfPrimary, 96, 260, 260, -272, -388},
        {kDesktop, 96, 8000, 100, -6092, 12}, {{100, 50, 100, 50}, 96, 120, 100, -32, 62},
        {kDesktop, 1, 260, 260, 1660, 0}};
    for (const auto& [workArea, dpi, width, height, x, y] : rows)
        EXPECT_EQ(sides(topRightCorner(workArea, dpi, width, height)), sides({x, y, x + width, y + height}))
            << dpi << " " << width;
}

TEST(Placement, centringRoundsTowardsZero) {
    EXPECT_EQ(sides(centredIn(kDesktop, 260, 260)), sides({830, 390, 1090, 650}));
    EXPECT_EQ(sides(centredIn({0, 0, 101, 101}, 100, 100)), sides({0, 0, 100, 100}));
    EXPECT_EQ(sides(centredIn({0, 0, 101, 101}, 104, 102)), sides({-1, 0, 103, 102})) << "larger than the area";
    EXPECT_EQ(sides(centredIn({-1920, -200, 0, 880}, 261, 261)), sides({-1091, 209, -830, 470}));
}

TEST(Placement, scalesLengthsLikeTheSystem) {
    const LONG rows[][3] = {{12, 96, 12}, {12, 120, 15}, {12, 144, 18}, {24, 192, 48},
                            {1, 144, 2},  {1, 143, 1},   {26, 120, 33}, {5, 120, 6}};
    for (const auto& [length, dpi, pixels] : rows)
        EXPECT_EQ(scaleToDpi(length, dpi), pixels) << length << " at " << dpi;
}

TEST(Placement, touchingRectanglesDoNotIntersect) {
    const RECT note = {100, 100, 360, 360};
    EXPECT_FALSE(intersect(note, {360, 100, 400, 360}));
    EXPECT_FALSE(intersect(note, {100, 360, 400, 400}));
    EXPECT_TRUE(intersect(note, {359, 359, 400, 400}));
    EXPECT_TRUE(intersect(note, {150, 150, 160, 160}));
    EXPECT_FALSE(intersect(note, {150, 150, 150, 160})) << "an empty rectangle";
}

TEST(Placement, secondNoteAvoidsTheFirst) {
    const RECT first = {1648, 12, 1908, 272};
    const auto isFree = [&](const RECT& place) { return !intersect(place, first); };
    EXPECT_EQ(sides(findFreePlace(first, kDesktop, 96, isFree)), sides({1660, 276, 1920, 536}));
    // At twice the DPI, a step is twice as long.
    EXPECT_EQ(sides(findFreePlace(first, kDesktop, 192, isFree)), sides({1660, 300, 1920, 560}));
    // A step is at least 16 pixels.
    EXPECT_EQ(placementTry(first, kDesktop, 48, 0).top, 28);
}

TEST(Placement, triesFourDiagonalsInsideTheWorkArea) {
    const RECT wanted = rectAt(900, 500, 100, 100);
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 0)), sides({924, 524, 1024, 624}));
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 49)), sides({1820, 940, 1920, 1040})) << "the far corner";
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 50)), sides({876, 476, 976, 576}));
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 100)), sides({876, 524, 976, 624}));
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 150)), sides({924, 476, 1024, 576}));
    EXPECT_EQ(sides(placementTry(wanted, kDesktop, 96, 199)), sides({1820, 0, 1920, 100}));
    EXPECT_EQ(sides(placementTry(rectAt(0, 0, 3000, 2000), kDesktop, 96, 7)), sides({0, 0, 3000, 2000}))
        << "larger than the work area: aligned on the left and top";
    EXPECT_EQ(sides(placementTry(rectAt(-300, -300, 100, 100), kLeftOfPrimary, 96, 49)), sides({-100, 900, 0, 1000}));
}

TEST(Placement, noteStaysAtItsWantedPlaceIfNoPlaceIsFree) {
    const RECT wanted = rectAt(-50, 20, 260, 260);
    int tries = 0;
    const RECT place = findFreePlace(wanted, kDesktop, 96, [&](const RECT&) { return ++tries < 0; });
    EXPECT_EQ(sides(place), sides(wanted));
    EXPECT_EQ(tries, 200);
    int last = 0;
    findFreePlace(wanted, kDesktop, 96, [&](const RECT&) { return ++last == 200; });
    EXPECT_EQ(last, 200) << "the last try counts";
}

TEST(Placement, extremeCoordinatesDoNotOverflow) {
    for (const LONG x : {LONG{-2147483647 - 1}, LONG{2147483647}, LONG{-32768}}) {
        const RECT rect = rectAt(x, x, 8000, 8000);
        for (int n = 0; n < kPlacementTries; ++n)
            placementTry(rect, kDesktop, 192, n);
    }
}
