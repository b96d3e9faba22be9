// A note under the user's hands: typing, closing, dragging, the buttons, changes from outside, what is painted.
#include <gtest/gtest.h>

#include "DisplayFixture.h"
#include "controls/TextControl.h"
#include "drawing/Surface.h"
#include "support/ControlParent.h"
#include "windows/Window.h"

namespace {

using platform::DrawOp;

class Interaction : public DisplayMachine {
  protected:
    ~Interaction() override {
        platform::clock::useRealTime();
        app.shutdown();
    }
    // Opens one note at 100, 100 of 260 by 260.
    void open(const std::string& more = "", const std::string& id = "n") {
        putNote(id, ",\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":260}" + more);
        ASSERT_EQ(start(app), kEnterMessageLoop);
        platform::desktop::pump();
        log();
    }
    static std::shared_ptr<platform::Window> window() { return platform::findWindow(firstNote()); }
    static HWND title() { return window()->children[0]; }
    static HWND body() { return window()->children[1]; }
    void after(std::int64_t milliseconds) const {
        platform::clock::advance(milliseconds);
        platform::desktop::pump();
    }
    static const char* saved() { return "[DEBUG] App: Saved note id=n\r\n"; }

    App app;
};

constexpr POINT kInTitle = {150, 110}, kInBody = {150, 180}, kOnClose = {345, 113}, kOnNew = {320, 113},
                kOnFreeBar = {333, 113};

}  // namespace

TEST_F(Interaction, threeKeysMakeOneSaveAfterThePause) {
    open(",\"editable\":true,\"title\":\"T\",\"content\":\"old\",\"modified\":\"2020-01-01T00:00:00Z\"");
    platform::desktop::click(kInBody);
    for (const char16_t* key : {u"a", u"b", u"c"}) {
        platform::desktop::typeText(key);
        after(500);
        EXPECT_EQ(log(), "");
    }
    after(299);
    EXPECT_EQ(log(), "") << "799 ms after the last key";
    after(1);
    EXPECT_EQ(log(), saved());
    const std::string file = get("n.json");
    EXPECT_TRUE(has(file, "abc")) << file;
    EXPECT_TRUE(has(file, "\"content_rtf\"") || has(file, "\"contentRtf\"")) << file;
    EXPECT_FALSE(has(file, "2020-01-01")) << "modified moves";
    after(10'000);
    EXPECT_EQ(log(), "") << "once";
}

TEST_F(Interaction, theTitleTravelsToo) {
    open(",\"editable\":true,\"title\":\"T\"");
    platform::desktop::click(kInTitle);
    platform::desktop::typeText(u"x");
    after(800);
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "\"title\": \"" + textOf(title()) + "\""));
    EXPECT_EQ(textOf(title()).size(), 2U);
}

TEST_F(Interaction, aReadOnlyNoteReportsNothingAndIsDraggedByItsTitle) {
    open(",\"title\":\"T\",\"content\":\"c\"");
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"abc");
    SetWindowTextW(title(), TEXT("other"));
    after(5000);
    EXPECT_EQ(log(), "");
    platform::desktop::moveMouse(kInTitle);
    EXPECT_EQ(platform::desktop::shownCursor(), LoadCursorW(nullptr, IDC_ARROW));
    platform::desktop::drag(kInTitle, {kInTitle.x + 300, kInTitle.y + 50});
    EXPECT_EQ(noteRects()[0].left, 400);
    EXPECT_EQ(noteRects()[0].top, 150);
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "\"x\": 400"));
}

TEST_F(Interaction, anEditableTitleIsNoHandleButTheBarIs) {
    open(",\"editable\":true,\"allowNewNote\":true");
    platform::desktop::drag(kInTitle, {500, 500});
    EXPECT_EQ(noteRects()[0].left, 100);
    platform::desktop::drag(kOnFreeBar, {kOnFreeBar.x + 40, kOnFreeBar.y - 60});
    EXPECT_EQ(noteRects()[0].left, 140);
    EXPECT_EQ(log(), saved()) << "one at the end, none during the drag";
}

TEST_F(Interaction, edgesSizeTheWindowDownToItsLeastSize) {
    open(",\"editable\":true");
    platform::desktop::drag({359, 359}, {459, 409});
    EXPECT_EQ(noteRects()[0].right, 460);
    EXPECT_EQ(noteRects()[0].bottom, 410);
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "\"width\": 360"));
    RECT inside = {};
    GetWindowRect(body(), &inside);
    EXPECT_EQ(inside.right, 450) << "the body follows";
    platform::desktop::drag({459, 200}, {0, 200});
    EXPECT_EQ(noteRects()[0].right - noteRects()[0].left, 140);
    platform::desktop::drag({150, 409}, {150, 0});
    EXPECT_EQ(noteRects()[0].bottom - noteRects()[0].top, 120);
}

TEST_F(Interaction, aNoteDroppedOnAnotherSlidesAwayAndASizedOneStays) {
    putNote("other", ",\"position\":{\"x\":500,\"y\":100,\"width\":260,\"height\":260}");
    open();
    const auto find = [](LONG least) {
        for (const RECT& rect : noteRects())
            if (rect.left < least || rect.left > 500) return rect;
        return RECT{};
    };
    platform::desktop::drag({333, 113}, {333 + 300, 113});  // onto the other
    const RECT slid = find(400);
    EXPECT_TRUE(slid.left >= 760 || slid.right <= 500 || slid.top >= 360) << slid.left << "," << slid.top;
    EXPECT_TRUE(has(log(), saved()));
}

TEST_F(Interaction, bothWaysOfClosingEndTheNoteOnce) {
    open(",\"editable\":true,\"content\":\"x\"");
    platform::desktop::click(kOnClose);
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=n\r\n");
    EXPECT_FALSE(std::filesystem::exists(notes() / "n.json"));
    EXPECT_EQ(noteRects().size(), 0U);
    putNote("m");
    tellChanged(app, "m.json");
    log();
    PostMessageW(window()->handle, WM_CLOSE, 0, 0);
    platform::desktop::pump();
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=m\r\n");
}

TEST_F(Interaction, aReleaseOverTheButtonCountsWhereverThePressWas) {
    open(",\"allowNewNote\":true");
    platform::desktop::moveMouse(kInBody);
    platform::desktop::pressMouse();
    platform::desktop::moveMouse(kOnNew);
    platform::desktop::releaseMouse();
    EXPECT_TRUE(has(log(), "[INFO ] App: New note created: id="));
    EXPECT_EQ(noteRects().size(), 2U);
}

TEST_F(Interaction, withoutPermissionThereIsNoNewNoteButton) {
    open();
    platform::desktop::click(kOnNew);
    EXPECT_FALSE(has(log(), "New note"));
}

TEST_F(Interaction, aChangeFromOutsideIsNoEdit) {
    open(",\"editable\":true,\"title\":\"old\",\"content\":\"old\"");
    putNote("n", ",\"editable\":true,\"title\":\"new\",\"content\":\"one\\ntwo\",\"bgColor\":\"#102030\"");
    tellChanged(app, "n.json");
    EXPECT_EQ(textOf(title()), "new");
    EXPECT_EQ(textOf(body()), "one\r\ntwo");
    EXPECT_EQ(platform::textControlOf(*platform::findWindow(body()))->background(), 0x302010U);
    log();
    after(10'000);
    EXPECT_EQ(log(), "") << "nothing comes back as a save";
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"!");
    putNote("n", ",\"editable\":true,\"content\":\"third\"");
    tellChanged(app, "n.json");
    log();
    after(800);
    EXPECT_EQ(log(), saved()) << "an edit in flight is reported, with what the control then holds";
    EXPECT_TRUE(has(get("n.json"), "third"));
}

TEST_F(Interaction, richTextWinsAndSurvivesAnEdit) {
    open(R"(,"editable":true,"content":"plain","contentRtf":"{\\rtf1\\ansi caf\\'e9 \\u9733?\\par two}")");
    EXPECT_EQ(textOf(body()), "caf\xC3\xA9 \xE2\x98\x85\r\ntwo");
    platform::desktop::click(kInTitle);
    platform::desktop::typeText(u"t");
    after(800);
    EXPECT_TRUE(has(get("n.json"), "\"content\": \"caf\xC3\xA9 \xE2\x98\x85\\ntwo\"")) << get("n.json");
    EXPECT_FALSE(has(get("n.json"), "\\u0000")) << "the control's final zero is no part of the text";
    tellRemoved(app, "n.json");
    after(5000);
    tellRemoved(app, "n.json");
    EXPECT_EQ(noteRects().size(), 0U);
    tellChanged(app, "n.json");
    EXPECT_EQ(textOf(body()), "caf\xC3\xA9 \xE2\x98\x85\r\ntwo") << "again from the saved file";
}

TEST_F(Interaction, anEditInFlightGoesOutWithTheWindowUnlessTheAppClosesIt) {
    open(",\"editable\":true,\"content\":\"x\"");
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"y");
    DestroyWindow(window()->handle);  // by somebody else
    platform::desktop::pump();
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "y"));
    putNote("m", ",\"editable\":true,\"position\":{\"x\":100,\"y\":100}");
    tellChanged(app, "m.json");
    ASSERT_EQ(noteRects().size(), 1U);
    EXPECT_EQ(noteRects()[0].left, 100) << "a window that is gone is in nobody's way";
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"z");
    log();
    tellRemoved(app, "m.json");
    EXPECT_FALSE(has(log(), "Saved"));
}

TEST_F(Interaction, aLongNoteIsNotCutByItsNextSave) {
    open(R"(,"editable":true,"contentRtf":"{\\rtf1 )" + std::string(40000, 'x') + "}\"");
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"y");
    after(800);
    EXPECT_GT(get("n.json").size(), 80000U) << "as plain text and as RTF";
}

TEST_F(Interaction, aFailedSaveKeepsTheEditForTheNextOne) {
    open(",\"editable\":true,\"content\":\"\"");
    platform::desktop::click(kInBody);
    platform::desktop::typeText(u"kept");
    platform::faults::arm({"CreateFileW", 1, platform::faults::Action::Fail, 5});
    after(800);
    EXPECT_TRUE(has(log(), "saveNote failed: id=n"));
    save(app, "n");
    EXPECT_TRUE(has(get("n.json"), "kept"));
}

TEST_F(Interaction, withoutTheRichEditLibraryTheContentSurvives) {
    platform::faults::arm({"LoadLibraryW", 0, platform::faults::Action::Fail, 126});
    open(R"(,"editable":true,"title":"t","content":"kept","contentRtf":"{\\rtf1 kept}")");
    ASSERT_EQ(window()->children.size(), 1U);
    platform::desktop::click(kInTitle);
    platform::desktop::typeText(u"x");
    after(800);
    EXPECT_TRUE(has(get("n.json"), "\"content\": \"kept\"")) << get("n.json");
    EXPECT_TRUE(has(get("n.json"), "{\\\\rtf1 kept}"));
}

TEST_F(Interaction, aFrameIsDrawnToTheRules) {
    open(",\"author\":\"Ann\",\"created\":\"2026-03-14T12:00:00Z\",\"allowNewNote\":true");
    struct Row {
        DrawOp::Kind kind;
        std::vector<LONG> rect;
        DWORD color;
        float width;
    };
    using enum DrawOp::Kind;
    const std::vector<Row> rows = {
        {Fill, {0, 0, 260, 260}, 0xFFFEEB4D, 0},      {Fill, {0, 0, 260, 26}, 0xFFECD93B, 0},
        {Line, {0, 25, 260, 25}, 0xFFDBC82A, 1},      {Line, {0, 240, 260, 240}, 0xFFDBC82A, 1},
        {Line, {240, 8, 250, 18}, 0xDC1E1E1E, 1.5F},  {Line, {250, 8, 240, 18}, 0xDC1E1E1E, 1.5F},
        {Line, {216, 13, 226, 13}, 0xDC1E1E1E, 1.5F}, {Line, {221, 8, 221, 18}, 0xDC1E1E1E, 1.5F},
        {Text, {10, 240, 250, 260}, 0xFF505050, 0},
    };
    const auto& ops = window()->surface->ops;
    ASSERT_EQ(ops.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(ops[i].kind, rows[i].kind) << i;
        EXPECT_EQ((std::vector<LONG>{ops[i].rect.left, ops[i].rect.top, ops[i].rect.right, ops[i].rect.bottom}),
                  rows[i].rect)
            << i;
        EXPECT_EQ(ops[i].color, rows[i].color) << i << " " << std::hex << ops[i].color;
        EXPECT_FLOAT_EQ(ops[i].penWidth, rows[i].width) << i;
    }
    EXPECT_EQ(utf8(ops.back().text), "Ann  \xE2\x80\xA2  3/14/2026");
    EXPECT_EQ(ops.back().format, 0x8824U);
    EXPECT_EQ(ops.back().font.height, 10);

    platform::desktop::moveMouse(kOnClose);
    EXPECT_EQ(window()->surface->ops[4].color, 0x3C000000U) << "the hover square";
    EXPECT_EQ(window()->surface->ops[4].rect.left, 235);
    platform::desktop::moveMouse(kOnNew);
    EXPECT_EQ(window()->surface->ops[6].color, 0x3C000000U);
    platform::desktop::moveMouse(kInBody);
    EXPECT_EQ(window()->surface->ops.size(), rows.size()) << "the mouse has left";
}

TEST_F(Interaction, anotherDpiChangesEverythingButTheNote) {
    open(",\"editable\":true");
    platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 3840, 2160}, {0, 0, 3840, 2080}, 192, true}});
    platform::desktop::pump();
    EXPECT_EQ(noteRects()[0].right, 100 + 520);
    const auto& ops = window()->surface->ops;
    ASSERT_GE(ops.size(), 6U);
    EXPECT_EQ(ops[1].rect.bottom, 52);
    EXPECT_FLOAT_EQ(ops[4].penWidth, 2.5F);
    RECT rect = {};
    GetWindowRect(body(), &rect);
    EXPECT_EQ(rect.left - 100, 20);
    EXPECT_EQ(platform::faceOf(platform::textControlOf(*platform::findWindow(body()))->font()).height, 24);
    EXPECT_EQ(log(), "");
    after(5000);
    EXPECT_EQ(log(), "") << "nothing is saved for it";
}

TEST_F(Interaction, logosComeFromFilesAndFromText) {
    const std::string gif = "R0lGODlhAQABAIAAAP8AAAAAACwAAAAAAQABAAACAkQBADs=";
    struct Row {
        std::string logo;
        bool shown;
        const char* line;
    };
    const Row rows[] = {
        {"", false, ""},
        {"a.gif", true, ""},
        {"bad.png", false, "[WARN ] NoteWindow: logo: not a usable filename or base64 image (id="},
        {"missing.png", false, "[WARN ] NoteWindow: logo: not a usable filename or base64 image (id="},
        {gif, true, ""},
        {"data:image/gif;base64," + gif, true, ""},
        {"R0lG ODlh", false, "[WARN ] NoteWindow: logo: GDI+ could not decode base64 image (id="},
        {gif.substr(0, 20), false, "[WARN ] NoteWindow: logo: GDI+ could not decode base64 image (id="},
        {" ", false, ""},
    };
    ASSERT_EQ(start(app), kEnterMessageLoop);
    std::filesystem::create_directories(notes() / "Resources/logos");
    std::ofstream(notes() / "Resources/logos/bad.png") << "no image";
    const char bytes[] =
        "GIF89a\x01\0\x01\0\x80\0\0\xff\0\0\0\0\0,\0\0\0\0\x01\0\x01\0\0\x02\x02"
        "D\x01\0;";
    std::ofstream(notes() / "Resources/logos/a.gif").write(bytes, sizeof bytes - 1);
    int number = 0;
    for (const Row& row : rows) {
        const std::string id = "logo" + std::to_string(++number);
        putNote(id, ",\"logo\":\"" + row.logo + "\"");
        log();
        tellChanged(app, id + ".json");
        const std::string text = log();
        EXPECT_EQ(has(text, "logo:"), *row.line != 0) << row.logo << "\n" << text;
        EXPECT_TRUE(has(text, row.line)) << row.logo << "\n" << text;
        bool shown = false;
        for (const DrawOp& op : window()->surface->ops)
            shown = shown || (op.kind == DrawOp::Kind::Image && op.rect.left == 10 && op.rect.right == 32);
        EXPECT_EQ(shown, row.shown) << row.logo;
    }
}

TEST_F(Interaction, newSaveAndDismissLeaveNothingWhateverFails) {
    ASSERT_EQ(start(app), kEnterMessageLoop);
    platform::clock::useRealTime();
    const auto objects = [] { return platform::faults::openDrawingObjects() + platform::faults::openMemory(); };
    send(app, WM_APP_NOTE_NEW);
    sendText(app, WM_APP_NOTE_DISMISS, wide(std::string()));
    const std::size_t before = objects(), handles = platform::faults::openHandles();
    const std::size_t open = noteRects().size();
    for (unsigned use = 1; use < 1000; ++use) {
        platform::faults::clear();
        platform::faults::arm({"*", use, platform::faults::Action::Fail, 1450});
        send(app, WM_APP_NOTE_NEW);
        const bool fired = platform::faults::fired();
        platform::faults::clear();
        SCOPED_TRACE("failing call " + std::to_string(use));
        // What was opened is closed again, by its file name or as the note without an id.
        for (const auto& entry : std::filesystem::directory_iterator(notes()))
            sendText(app, WM_APP_NOTE_DISMISS, wide(entry.path().stem().string()));
        const std::string text = log();
        if (const std::size_t at = text.find("New note created: id="); at != std::string::npos) {
            const std::string id = text.substr(at + 21, text.find("\r\n", at) - at - 21);
            if (noteRects().size() > open) sendText(app, WM_APP_NOTE_DISMISS, wide(id));
        }
        while (noteRects().size() > open)
            DestroyWindow(firstNote());
        EXPECT_EQ(platform::faults::openHandles(), handles);
        if (HasFailure()) FAIL() << text;
        if (!fired) break;
    }
    EXPECT_LE(objects(), before + 200) << "no object for each run";
}
