// What a person sees of a note on a screen of Windows, pixel by pixel. On Linux the drawing is a list of operations,
// which tests/machine looks at one by one.
#include <gtest/gtest.h>

#include "common/DrawingHandles.h"
#include "common/Identity.h"
#include "support/Display.h"
#include "support/Files.h"
#include "support/Text.h"
#include "support/windows/Mouse.h"

namespace {

constexpr LONG kLeft = 20, kTop = 500;

// Of the screen; the lowest byte is red.
COLORREF pixel(LONG x, LONG y) {
    const WindowDc screen(nullptr);
    return GetPixel(screen.get(), kLeft + x, kTop + y);
}

bool becomes(LONG x, LONG y, COLORREF color) {
    return eventually([&] { return pixel(x, y) == color; }, std::chrono::seconds(10));
}

// How dark the darkest pixel of a rectangle is, by its green.
int darkest(LONG left, LONG top, LONG right, LONG bottom) {
    int least = 255;
    for (LONG y = top; y < bottom; ++y)
        for (LONG x = left; x < right; ++x)
            least = std::min(least, static_cast<int>(GetGValue(pixel(x, y))));
    return least;
}

}  // namespace

TEST(Pixels, paintsEachBandInItsColour) {
    const WideString instance = newGuidText();
    const TempFolder parent;
    std::filesystem::create_directories(hostPath(parent / instance));
    writeFile(parent / (instance + TEXT("\\n.json")),
              "{\"id\":\"n\",\"author\":\"Author\",\"editable\":true,\"allowNewNote\":true,"
              "\"position\":{\"x\":20,\"y\":500,\"width\":260,\"height\":260}}");
    const DisplayProcess display(
        TEXT("--no-autostart -i ") + instance + TEXT(" --folder \"") + parent.path() + TEXT("\""), {});
    const auto hover = [](LONG x, LONG y) { moveMouse(kLeft + x, kTop + y); };
    hover(300, 50);
    const COLORREF body = RGB(254, 235, 77), bar = RGB(236, 217, 59);
    ASSERT_TRUE(becomes(130, 130, body));
    EXPECT_TRUE(becomes(3, 20, bar));
    const COLORREF line = RGB(219, 200, 42);
    const struct {
        const char* what;
        COLORREF color;
        std::vector<POINT> points;
    } rows[] = {
        {"bar, also in the squares of the buttons", bar, {{0, 0}, {130, 24}, {245, 5}, {214, 6}}},
        {"line under the bar, up to its ends", line, {{0, 25}, {130, 25}, {258, 25}}},
        {"body and its margins", body, {{130, 26}, {5, 130}, {130, 239}}},
        {"line above the footer", line, {{130, 240}}},
        {"footer, to the last pixel", body, {{3, 241}, {250, 250}, {259, 259}}},
    };
    for (const auto& [what, color, points] : rows)
        for (const POINT& at : points)
            EXPECT_EQ(pixel(at.x, at.y), color) << what << " " << at.x << "," << at.y;
    EXPECT_LT(darkest(236, 4, 254, 22), 100) << "the cross";
    EXPECT_LT(darkest(212, 4, 230, 22), 100) << "the plus";
    EXPECT_LT(darkest(10, 242, 60, 260), 160) << "the author, in grey";
    EXPECT_GE(darkest(10, 242, 60, 260), 0x50) << "and no darker";

    const auto windowAt = [](LONG x, LONG y) { return WindowFromPoint({kLeft + x, kTop + y}); };
    const auto styleAt = [&](LONG x, LONG y) { return static_cast<DWORD>(GetWindowLongW(windowAt(x, y), GWL_STYLE)); };
    EXPECT_EQ(GetClassLongW(windowAt(3, 20), GCL_STYLE), 0x2000BU);
    EXPECT_EQ(styleAt(100, 13), 0x50000080U);
    EXPECT_EQ(styleAt(100, 100) | WS_VSCROLL, 0x50209144U) << "the bar hides while all of the text is in view";
    EXPECT_EQ(SendMessageW(windowAt(100, 13), EM_GETMARGINS, 0, 0), 0) << "the title begins at its edge";

    const auto hovered = [](BYTE channel) { return static_cast<BYTE>((channel * (255 - 0x3C) + 127) / 255); };
    const COLORREF square = RGB(hovered(236), hovered(217), hovered(59));
    const auto isNear = [&](LONG x, LONG y) {
        const COLORREF seen = pixel(x, y);
        const auto differs = [](int a, int b) { return a - b > 1 || b - a > 1; };
        return !differs(GetRValue(seen), GetRValue(square)) && !differs(GetGValue(seen), GetGValue(square)) &&
               !differs(GetBValue(seen), GetBValue(square));
    };
    // A hand trembles.
    const auto hoverUntil = [&](LONG x, LONG y, auto condition) {
        LONG tremor = 0;
        return eventually([&] { return hover(x + (tremor ^= 1), y), condition(); }, std::chrono::seconds(10));
    };
    EXPECT_TRUE(hoverUntil(245, 13, [&] { return isNear(237, 13); })) << std::hex << pixel(237, 13);
    EXPECT_EQ(pixel(214, 6), bar) << "the other button stays as it is";
    EXPECT_TRUE(hoverUntil(221, 13, [&] { return isNear(214, 6) && pixel(237, 13) == bar; }));
    EXPECT_TRUE(hoverUntil(300, 50, [&] { return pixel(214, 6) == bar; }));
}
