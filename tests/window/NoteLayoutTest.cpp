// The layout of a note: bands, buttons, colours and hit testing.
#include "window/NoteLayout.h"

#include <gtest/gtest.h>

#include "support/Text.h"
#include "window/NoteText.h"

namespace {

std::vector<LONG> sides(const Place& place) {
    return {place.x, place.y, place.width, place.height};
}
std::vector<LONG> sides(const RECT& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

constexpr Size kNote = {260, 260};
constexpr Size kNoLogo = {0, 0};

}  // namespace

TEST(NoteLayout, placesControlsAtEveryDpi) {
    const std::tuple<LONG, Size, bool, std::vector<LONG>, std::vector<LONG>> rows[] = {
        {96, {260, 260}, false, {10, 2, 220, 22}, {10, 30, 240, 200}},
        {96, {260, 260}, true, {10, 2, 196, 22}, {10, 30, 240, 200}},
        {120, {325, 325}, false, {13, 2, 274, 28}, {13, 38, 299, 249}},
        {144, {390, 390}, true, {15, 3, 294, 33}, {15, 45, 360, 300}},
        {192, {520, 520}, false, {20, 4, 440, 44}, {20, 60, 480, 400}},
        {96, {20, 20}, true, {10, 2, 10, 22}, {10, 30, 10, 10}},  // no part gets smaller than 10 pixels
    };
    for (const auto& [dpi, client, allowNewNote, title, body] : rows) {
        const NoteMetrics metrics = NoteMetrics::at(dpi);
        EXPECT_EQ(sides(titlePlace(metrics, client.width, allowNewNote, kNoLogo, TitleMetrics::unknown(metrics))),
                  title)
            << dpi;
        EXPECT_EQ(sides(bodyPlace(metrics, client)), body) << dpi;
    }
}

TEST(NoteLayout, centresTheCapitalsOfTheTitle) {
    const NoteMetrics metrics = NoteMetrics::at(96);
    EXPECT_EQ(sides(titlePlace(metrics, 260, false, kNoLogo, {19, 5, 10})), (std::vector<LONG>{10, 3, 220, 19}));
    EXPECT_EQ(titlePlace(metrics, 260, false, kNoLogo, {30, 20, 10}).y, 0) << "never above the window";
    EXPECT_EQ(titlePlace(metrics, 260, false, kNoLogo, {0, 0, 10}).height, 1);
}

TEST(NoteLayout, logoKeepsItsAspectRatioAndTheTitleGetsTheRest) {
    const NoteMetrics metrics = NoteMetrics::at(96);
    const TitleMetrics ink = TitleMetrics::unknown(metrics);
    const std::tuple<Size, std::vector<LONG>, LONG, LONG> rows[] = {
        {{44, 44}, {10, 2, 22, 22}, 36, 194},
        {{88, 44}, {10, 2, 44, 22}, 58, 172},
        {{10, 30}, {10, 2, 7, 22}, 21, 209},
        {{1000, 10}, {10, 12, 220, 2}, 234, 10},  // the width is limited, so the height shrinks too
        {{1, 20}, {10, 2, 1, 22}, 15, 215},
        {{1, 1000}, {10, 2, 0, 22}, 10, 220},  // less than a pixel wide: no space is reserved
        {{2147483647, 1}, {10, 13, 220, 0}, 234, 10},
        {{0, 5}, {0, 0, 0, 0}, 10, 220}};
    for (const auto& [image, logo, titleX, titleWidth] : rows) {
        EXPECT_EQ(sides(logoPlace(metrics, 260, false, image)), logo) << image.width;
        const Place title = titlePlace(metrics, 260, false, image, ink);
        EXPECT_EQ(title.x, titleX) << image.width;
        EXPECT_EQ(title.width, titleWidth) << image.width;
    }
}

TEST(NoteLayout, everyPointHasTheRightHitCode) {
    const std::pair<LRESULT, std::vector<POINT>> rows[] = {
        {HTTOPLEFT, {{0, 0}, {7, 7}, {-5, -5}}},
        {HTTOPRIGHT, {{252, 7}}},
        {HTBOTTOMLEFT, {{7, 252}}},
        {HTBOTTOMRIGHT, {{252, 252}, {259, 259}}},
        {HTLEFT, {{7, 100}, {7, 8}}},
        {HTRIGHT, {{252, 100}, {252, 15}}},  // the resize zones win over the buttons
        {HTTOP, {{100, 7}, {8, 7}, {240, 7}}},
        {HTBOTTOM, {{100, 252}, {251, 252}}},
        {HTCLOSE, {{240, 8}, {251, 22}, {235, 22}}},
        {HT_NEW_NOTE, {{230, 15}, {211, 8}, {211, 22}}},
        {HTCAPTION, {{234, 15}, {240, 23}, {231, 15}, {210, 15}, {220, 23}, {8, 8}, {100, 25}}},
        {HTCLIENT, {{100, 26}, {251, 251}}}};
    for (const auto& [zone, points] : rows)
        for (const POINT& point : points) {
            SCOPED_TRACE(std::to_string(point.x) + "," + std::to_string(point.y));
            EXPECT_EQ(hitTest(NoteMetrics::at(96), kNote, point, true), zone);
            EXPECT_EQ(hitTest(NoteMetrics::at(96), kNote, point, false), zone == HT_NEW_NOTE ? HTCAPTION : zone);
        }
    EXPECT_EQ(sides(closeButton(NoteMetrics::at(120), 325)), (std::vector<LONG>{294, 4, 319, 29}));
    EXPECT_EQ(hitTest(NoteMetrics::at(192), {520, 520}, {15, 100}, false), HTLEFT);
    EXPECT_EQ(hitTest(NoteMetrics::at(192), {520, 520}, {16, 100}, false), HTCLIENT);
}

TEST(NoteLayout, derivedColoursStayInRange) {
    EXPECT_EQ(derivedTitleBarColor(RGB(254, 235, 77)), RGB(236, 217, 59));
    EXPECT_EQ(derivedTitleBarColor(RGB(18, 19, 0)), RGB(0, 1, 0));
    EXPECT_EQ(titleLineColor(RGB(16, 17, 255)), RGB(0, 0, 238));
    EXPECT_EQ(footerLineColor(RGB(34, 36, 200)), RGB(0, 1, 165));
    EXPECT_EQ(lightened(RGB(250, 0, 241), 14), RGB(255, 14, 255));
    EXPECT_EQ(argb(RGB(1, 2, 3)), 0xFF010203U);
}

TEST(NoteLayout, footerJoinsAuthorAndDate) {
    EXPECT_EQ(utf8(footerText(TEXT("Ann"), TEXT("3/14/2026"))), "Ann  \xE2\x80\xA2  3/14/2026");
    EXPECT_EQ(utf8(footerText(TEXT(""), TEXT("3/14/2026"))), "3/14/2026");
    EXPECT_EQ(utf8(footerText(TEXT("Ann"), TEXT(""))), "Ann");
    EXPECT_EQ(utf8(footerText(TEXT(""), TEXT(""))), "");
}

TEST(NoteText, convertsLineEndsBothWays) {
    const std::tuple<const WCHAR*, const WCHAR*, const WCHAR*> rows[] = {
        {TEXT(""), TEXT(""), TEXT("")},
        {TEXT("a\nb"), TEXT("a\r\nb"), TEXT("a\nb")},
        {TEXT("a\rb"), TEXT("a\r\nb"), TEXT("a\nb")},
        {TEXT("a\r\nb"), TEXT("a\r\nb"), TEXT("a\nb")},
        {TEXT("\r\r\n\n\r"), TEXT("\r\n\r\n\r\n\r\n"), TEXT("\n\n\n\n")},
        {TEXT("\n\r"), TEXT("\r\n\r\n"), TEXT("\n\n")}};
    for (const auto& [text, crLf, lf] : rows) {
        EXPECT_EQ(utf8(normalizeToCrLf(text)), utf8(crLf));
        EXPECT_EQ(utf8(normalizeToLf(text)), utf8(lf));
    }
}
