// The pixels of a note on the Windows screen. On Linux drawing is a list of operations, which tests/machine checks.
#include <gtest/gtest.h>

#include "common/DrawingHandles.h"
#include "common/Identity.h"
#include "support/Display.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/windows/Mouse.h"

namespace {

constexpr LONG kLeft = 20, kTop = 500;

// A pixel of the screen, as a COLORREF.
COLORREF pixel(LONG x, LONG y) {
    const WindowDc screen(nullptr);
    return GetPixel(screen.get(), kLeft + x, kTop + y);
}

constexpr COLORREF kBody = RGB(254, 235, 77), kBar = RGB(236, 217, 59);

// Whether the pixel is the bar's colour under black with alpha 0x3C.
bool isHighlighted(LONG x, LONG y) {
    const COLORREF seen = pixel(x, y);
    const auto isNear = [](BYTE channel, BYTE plain) {
        const int expected = (plain * (255 - 0x3C) + 127) / 255;
        return channel - expected <= 1 && expected - channel <= 1;
    };
    return isNear(GetRValue(seen), GetRValue(kBar)) && isNear(GetGValue(seen), GetGValue(kBar)) &&
           isNear(GetBValue(seen), GetBValue(kBar));
}

// Holds the mouse there with small movements until the condition is true.
template <typename Condition>
bool hoverUntil(LONG x, LONG y, Condition condition) {
    LONG tremor = 0;
    const auto move = [&] { moveMouse(kLeft + x + (tremor ^= 1), kTop + y); };
    return eventually([&] { return move(), condition(); }, std::chrono::seconds(10));
}

// The lowest green value in the rectangle.
int darkest(LONG left, LONG top, LONG right, LONG bottom) {
    int least = 255;
    for (LONG y = top; y < bottom; ++y)
        for (LONG x = left; x < right; ++x)
            least = std::min(least, static_cast<int>(GetGValue(pixel(x, y))));
    return least;
}

// Shows one note on the screen.
class Pixels : public testing::Test {
  protected:
    Pixels() {
        std::filesystem::create_directories(hostPath(parent / instance));
        writeFile(parent / (instance + TEXT("\\n.json")),
                  "{\"id\":\"n\",\"author\":\"Author\",\"editable\":true,\"allowNewNote\":true,"
                  "\"position\":{\"x\":20,\"y\":500,\"width\":260,\"height\":260}}");
        display = std::make_unique<DisplayProcess>(
            TEXT("--no-autostart -i ") + instance + TEXT(" --folder \"") + parent.path() + TEXT("\""), Environment());
        moveMouse(kLeft + 300, kTop + 50);
        EXPECT_TRUE(eventually([&] { return pixel(130, 130) == kBody && pixel(3, 20) == kBar; }));
    }

    const WideString instance = newGuidText();
    const TempFolder parent;
    std::unique_ptr<DisplayProcess> display;
};

}  // namespace

TEST_F(Pixels, paintsEachBandInItsColour) {
    const COLORREF line = RGB(219, 200, 42);
    const std::tuple<const char*, COLORREF, std::vector<POINT>> rows[] = {
        {"bar, also in the squares of the buttons", kBar, {{3, 20}, {0, 0}, {130, 24}, {245, 5}, {214, 6}}},
        {"line under the bar, up to its ends", line, {{0, 25}, {130, 25}, {258, 25}}},
        {"body and its margins", kBody, {{130, 26}, {5, 130}, {130, 239}}},
        {"line above the footer", line, {{130, 240}}},
        {"footer, to the last pixel", kBody, {{3, 241}, {250, 250}, {259, 259}}}};
    for (const auto& [what, color, points] : rows)
        for (const POINT& at : points)
            EXPECT_EQ(pixel(at.x, at.y), color) << what << " " << at.x << "," << at.y;
}

TEST_F(Pixels, drawsButtonsAndFooterDarkerThanTheNote) {
    EXPECT_LT(darkest(236, 4, 254, 22), 100) << "the cross";
    EXPECT_LT(darkest(212, 4, 230, 22), 100) << "the plus";
    EXPECT_LT(darkest(10, 242, 60, 260), 160) << "the author, in grey";
    EXPECT_GE(darkest(10, 242, 60, 260), 0x50) << "and no darker";
}

TEST_F(Pixels, windowsHaveTheirStyles) {
    const auto windowAt = [](LONG x, LONG y) { return WindowFromPoint({kLeft + x, kTop + y}); };
    const auto styleAt = [&](LONG x, LONG y) { return static_cast<DWORD>(GetWindowLongW(windowAt(x, y), GWL_STYLE)); };
    EXPECT_EQ(GetClassLongW(windowAt(3, 20), GCL_STYLE), 0x2000BU);
    EXPECT_EQ(styleAt(100, 13), 0x50000080U);
    EXPECT_EQ(styleAt(100, 100) | WS_VSCROLL, 0x50209144U) << "the bar hides while all of the text is in view";
    EXPECT_EQ(SendMessageW(windowAt(100, 13), EM_GETMARGINS, 0, 0), 0) << "the title begins at its edge";
}

TEST_F(Pixels, buttonUnderTheMouseIsHighlighted) {
    EXPECT_TRUE(hoverUntil(245, 13, [] { return isHighlighted(237, 13); })) << std::hex << pixel(237, 13);
    EXPECT_EQ(pixel(214, 6), kBar) << "the other button stays as it is";
    EXPECT_TRUE(hoverUntil(221, 13, [] { return isHighlighted(214, 6) && pixel(237, 13) == kBar; }));
    EXPECT_TRUE(hoverUntil(300, 50, [] { return pixel(214, 6) == kBar; }));
}
