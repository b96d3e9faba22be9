// Where note windows open on different monitors, and what the record stores.

#include "common/Monitors.h"
#include "machine/support/DisplayFixture.h"
#include "window/Placement.h"

namespace {

using platform::Monitor;

const Monitor kMain = {u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true};
const Monitor kLeft = {u"\\\\.\\DISPLAY2", {-2560, -200, 0, 1240}, {-2560, -160, 0, 1240}, 144, false};
const Monitor kRight4K = {u"\\\\.\\DISPLAY3", {1920, 0, 5760, 2160}, {1920, 0, 5760, 2080}, 192, false};

class NotePlaces : public DisplayMachine {
  protected:
    NotePlaces() { platform::desktop::setMonitors({kMain}); }
    ~NotePlaces() override {
        for (auto& window : windows)
            window->close();
    }
    NoteWindow& open(NoteRecord note) {
        windows.push_back(std::make_unique<NoteWindow>(nullptr, std::move(note)));
        EXPECT_TRUE(windows.back()->create());
        return *windows.back();
    }
    std::vector<LONG> placeOf(const NoteWindow& window) const {
        RECT rect = {};
        GetWindowRect(window.hwnd(), &rect);
        return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
    }
    std::vector<std::unique_ptr<NoteWindow>> windows;
};

NoteRecord stored(LONG x, LONG y, LONG width, LONG height, const WCHAR* device = TEXT("")) {
    NoteRecord note;
    note.id = TEXT("n");
    note.x = x;
    note.y = y;
    note.width = width;
    note.height = height;
    note.hasPosition = true;
    note.monitorDevice = device;
    return note;
}

NoteRecord fresh(const WCHAR* device = TEXT("")) {
    NoteRecord note = stored(0, 0, 260, 260, device);
    note.hasPosition = false;
    return note;
}

}  // namespace

TEST_F(NotePlaces, notesOpenAtTheirStoredPlaceOnAMonitorThatExists) {
    const WCHAR *const one = TEXT("\\\\.\\DISPLAY1"), *const two = TEXT("\\\\.\\display2");
    const std::vector<Monitor> all = {kLeft, kMain, kRight4K};
    const std::tuple<const char*, std::vector<Monitor>, NoteRecord, std::vector<LONG>, const Monitor&> rows[] = {
        {"new", all, fresh(), {1648, 12, 260, 260}, kMain},
        {"new on a named monitor", all, fresh(two), {-278, -142, 260, 260}, kLeft},
        {"new at 192 DPI", all, fresh(TEXT("\\\\.\\DISPLAY3")), {5476, 24, 260, 260}, kRight4K},
        {"new on a monitor that is gone", {kMain}, fresh(two), {1648, 12, 260, 260}, kMain},
        {"new on a monitor by half its name", all, fresh(TEXT("\\\\.\\DISPLAY")), {1648, 12, 260, 260}, kMain},
        {"stored", all, stored(-300, 50, 200, 150, one), {-300, 50, 200, 150}, kLeft},
        {"one pixel on a monitor", {kMain}, stored(1919, 1079, 200, 150), {1919, 1079, 200, 150}, kMain},
        {"beside every monitor", {kMain}, stored(1920, 0, 200, 150), {860, 445, 200, 150}, kMain},
        {"on the monitor that is gone", {kMain}, stored(-300, 50, 200, 151, two), {860, 444, 200, 151}, kMain},
        {"nowhere, anchor there", all, stored(9000, 9000, 200, 150, two), {-1380, 465, 200, 150}, kLeft},
        {"larger than the screen", {kMain}, stored(5000, 0, 8000, 8000), {-3040, -3480, 8000, 8000}, kMain},
        {"no primary: the first", {kLeft}, fresh(), {-278, -142, 260, 260}, kLeft},
        {"at the end of the numbers", {kMain}, stored(2147483647, 2147483647, 300, 300), {810, 370, 300, 300}, kMain}};
    for (const auto& [what, monitors, wanted, place, monitor] : rows) {
        SCOPED_TRACE(what);
        platform::desktop::setMonitors(monitors);
        NoteWindow& window = open(wanted);
        const NoteRecord& note = window.note();
        EXPECT_EQ(placeOf(window), place);
        EXPECT_EQ((std::vector<LONG>{note.x, note.y, note.width, note.height}), place);
        EXPECT_TRUE(note.hasPosition);
        EXPECT_EQ(utf8(note.monitorDevice), utf8(monitor.device));
        EXPECT_EQ(platform::desktop::describeRect(note.monitorBounds), platform::desktop::describeRect(monitor.bounds));
        window.close();
        EXPECT_EQ(window.hwnd(), nullptr);
    }
}

TEST_F(NotePlaces, usesTheScreenIfThereIsNoMonitor) {
    platform::desktop::setMonitors({});
    NoteRecord note = fresh(TEXT("\\\\.\\DISPLAY7"));
    note.monitorBounds = {1, 2, 3, 4};
    NoteWindow& window = open(note);
    EXPECT_EQ(placeOf(window), (std::vector<LONG>{1024 - 12 - 260, 12, 260, 260}));
    EXPECT_EQ(utf8(window.note().monitorDevice), "\\\\.\\DISPLAY7") << "what was known stays";
    EXPECT_EQ(window.note().monitorBounds.bottom, 4);
    const MonitorInfo screen = primaryMonitor();
    EXPECT_EQ(screen.handle, nullptr);
    EXPECT_TRUE(screen.isPrimary && screen.device.empty() && screen.dpi == 96);
    EXPECT_EQ(screen.workArea.bottom, 768);
}

TEST_F(NotePlaces, noteStaysTopmostWhenItsOrderIsChanged) {
    NoteWindow& window = open(fresh());
    for (const UINT flags : {UINT{SWP_NOSIZE}, UINT{SWP_NOSIZE | SWP_NOZORDER}}) {
        WINDOWPOS wanted = {window.hwnd(), HWND_TOP, 5, 6, 0, 0, flags};
        SendMessageW(window.hwnd(), WM_WINDOWPOSCHANGING, 0, reinterpret_cast<LPARAM>(&wanted));
        EXPECT_EQ(wanted.hwndInsertAfter, flags == SWP_NOSIZE ? HWND_TOPMOST : HWND_TOP) << flags;
    }
}

TEST_F(NotePlaces, activatedNoteComesToTheTop) {
    NoteWindow &low = open(stored(0, 0, 140, 120)), &high = open(stored(500, 0, 140, 120));
    for (const auto& [how, top] : {std::pair{WA_INACTIVE, &high}, {WA_ACTIVE, &low}}) {
        SendMessageW(low.hwnd(), WM_ACTIVATE, how, 0);
        EXPECT_EQ(firstNote(), top->hwnd()) << how;
    }
}

TEST_F(NotePlaces, usesTheScreenDpiIfTheDpiCallsFail) {
    platform::desktop::setMonitors({kLeft, kRight4K});
    NoteWindow& window = open(fresh(TEXT("\\\\.\\DISPLAY3")));
    EXPECT_EQ(windowDpi(window.hwnd()), 192);
    EXPECT_EQ(windowDpi(nullptr), 96);
    EXPECT_EQ(monitorDpi(nullptr), 144) << "the screen has the DPI of the first monitor here";
    failCall("GetDpiForWindow", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(windowDpi(window.hwnd()), 192) << "by the monitor it is on";
    platform::faults::clear();
    failCall("GetDpiForMonitor", 0, ERROR_ACCESS_DENIED);
    failCall("GetDpiForWindow", 0, ERROR_ACCESS_DENIED);
    EXPECT_EQ(windowDpi(window.hwnd()), 144);
    failCall("GetDeviceCaps", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(windowDpi(window.hwnd()), 96);
    failCall("GetDC", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(monitorDpi(nullptr), 96);
}

// A process looks up the calls only once, so this test needs its own process, as under ctest.
TEST_F(NotePlaces, usesTheScreenDpiIfTheDpiCallsAreMissing) {
    platform::desktop::setMonitors({kLeft, kRight4K});
    platform::desktop::offerDpiCalls(false, false);
    EXPECT_EQ(monitorDpi(reinterpret_cast<HMONITOR>(0x10001)), 144);
    EXPECT_EQ(enumerateMonitors().size(), 2U);
    failCall("GetMonitorInfoW", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(enumerateMonitors().size(), 1U) << "one that cannot be read is left out";
}

TEST_F(NotePlaces, searchesAFreePlaceInStepsForTheMonitorsDpi) {
    platform::desktop::setMonitors({kMain, kRight4K});
    App app;
    for (const char* id : {"1", "2"})
        putNote(id, R"(,"monitor":{"device":"\\\\.\\DISPLAY3"})");
    ASSERT_EQ(start(app), kEnterMessageLoop);
    EXPECT_EQ(places(), "5500,312-5760,572 5476,24-5736,284") << "six steps of 48 pixels";
    app.shutdown();
}

TEST_F(NotePlaces, openNotesDoNotCoverEachOther) {
    App app;
    for (int i = 0; i < 60; ++i)
        putNote(std::to_string(1000 + i));
    ASSERT_EQ(start(app), kEnterMessageLoop);
    // The expected places, from comparing with every open note in opening order.
    const RECT workArea = {0, 0, 1920, 1040}, wanted = topRightCorner(workArea, 96, 260, 260);
    std::vector<RECT> taken;
    std::string expected;
    const auto isFree = [&](const RECT& place) {
        return std::none_of(taken.begin(), taken.end(), [&](const RECT& other) { return intersect(place, other); });
    };
    for (int i = 0; i < 60; ++i) {
        taken.push_back(isFree(wanted) ? wanted : findFreePlace(wanted, workArea, 96, isFree));
        expected = platform::desktop::describeRect(taken.back()) + (i == 0 ? "" : " ") + expected;
    }
    EXPECT_EQ(places(), expected);
    app.shutdown();
}
