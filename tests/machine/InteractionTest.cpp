// A note under the user's hands: typing, closing, dragging, the buttons, changes from outside, what is painted.
#include <gtest/gtest.h>

#include "DisplayFixture.h"
#include "common/Handles.h"
#include "controls/TextControl.h"
#include "drawing/Surface.h"
#include "support/ControlParent.h"
#include "window/LogoSource.h"
#include "windows/Window.h"

namespace {

using platform::desktop::drag;

class Interaction : public DisplayMachine {
  protected:
    Interaction() { useZone("UTC0"); }
    ~Interaction() override {
        platform::clock::useRealTime();
        app.shutdown();
    }
    // The form of TZ. A zone without a name needs no data of the system.
    static void useZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    // Opens one note at 100, 100 of 260 by 260.
    void open(const std::string& more = "", const std::string& id = "n") {
        putNote(id, ",\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":260}" + more);
        ASSERT_EQ(start(app), kEnterMessageLoop);
        platform::desktop::pump();
        log();
    }
    // Brings the file of a note into being, or another content into it, as a writer does.
    void write(const std::string& id, const std::string& more) const {
        putNote(id, more);
        tellChanged(app, id + ".json");
    }
    static std::shared_ptr<platform::Window> window() { return platform::findWindow(firstNote()); }
    static HWND title() { return window()->children[0]; }
    static HWND body() { return window()->children[1]; }
    static const platform::TextControl& control(HWND handle) {
        return *platform::textControlOf(*platform::findWindow(handle));
    }
    static void type(POINT where, std::u16string_view text) {
        platform::desktop::click(where);
        platform::desktop::typeText(text);
    }
    void after(std::int64_t milliseconds) const {
        platform::clock::advance(milliseconds);
        platform::desktop::pump();
    }
    static const char* saved() { return "[DEBUG] App: Saved note id=n\r\n"; }

    static std::string described(const platform::FontFace& font) {
        return utf8(font.name) + " " + std::to_string(font.height) + " " + std::to_string(font.weight);
    }
    // Its place in the note, its font and its margins.
    static std::string described(HWND handle) {
        const LRESULT margins = SendMessageW(handle, EM_GETMARGINS, 0, 0);
        return sides(platform::findWindow(handle)->rect) + " " + described(platform::faceOf(control(handle).font())) +
               " " + std::to_string(LOWORD(margins)) + " " + std::to_string(HIWORD(margins)) + "\n";
    }
    // The frame that the uppermost note has painted last, a line for each operation.
    static std::string frame() {
        std::string all;
        for (const platform::DrawOp& op : window()->surface->ops) {
            static const char* const kinds[] = {"fill ", "line ", "text ", "image "};
            all += kinds[static_cast<int>(op.kind)] + sides(op.rect) + format(" %08X", op.color);
            if (op.penWidth != 0) all += format(" %.1f", static_cast<double>(op.penWidth));
            if (!op.text.empty()) all += format(" %X ", op.format) + described(op.font) + " " + utf8(op.text);
            all += "\n";
        }
        return all;
    }
    // What the note paints, how it answers its controls that ask for their colours, and those of the body itself.
    static std::string colors() {
        std::string all =
            format("%06X", window()->surface->ops[0].color) + format(" %06X", window()->surface->ops[1].color);
        for (const HWND handle : {title(), body()})
            for (const UINT message : {WM_CTLCOLOREDIT, WM_CTLCOLORSTATIC}) {
                const MemoryDc context(CreateCompatibleDC(nullptr));
                SetBkMode(context.get(), TRANSPARENT);
                const LRESULT brush = SendMessageW(window()->handle, message, reinterpret_cast<WPARAM>(context.get()),
                                                   reinterpret_cast<LPARAM>(handle));
                const platform::DeviceContext& chosen = *platform::findContext(context.get());
                EXPECT_EQ(chosen.backMode, OPAQUE);
                EXPECT_EQ(*platform::colorOfBrush(reinterpret_cast<HBRUSH>(brush)), chosen.backColor);
                all += format(" %06X", chosen.textColor) + format("/%06X", chosen.backColor);
            }
        const platform::TextControl& text = control(body());
        return all + format(" %06X", text.colorOf({})) + format(" %06X", text.colorOf(text.content().formatAt(0))) +
               format("/%06X", text.background());
    }

    App app;

  private:
    template <typename Value>
    static std::string format(const char* form, Value value) {
        char text[32];
        std::snprintf(text, sizeof text, form, value);
        return text;
    }
};

constexpr POINT kInTitle = {150, 110}, kInBody = {150, 180}, kOnClose = {345, 113}, kOnNew = {320, 113},
                kOnFreeBar = {333, 113};

}  // namespace

TEST_F(Interaction, threeKeysMakeOneSaveAfterThePause) {
    open(",\"editable\":true,\"title\":\"T\",\"content\":\"old\",\"modified\":\"2020-01-01T00:00:00Z\"");
    platform::desktop::click(kInTitle);
    platform::desktop::click(kInBody);
    after(5000);
    EXPECT_EQ(log(), "") << "neither opening nor a click is an edit";
    SetWindowPos(firstNote(), nullptr, 110, 90, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);  // by somebody else
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
    for (const char* part :
         {"\"content\": \"abcold\"", "\"contentRtf\"", "\"title\": \"T\"", "\"x\": 110", "\"y\": 90"})
        EXPECT_TRUE(has(file, part)) << part << file;
    EXPECT_FALSE(has(file, "2020-01-01")) << "modified moves";
    type({160, 100}, u"x");
    after(10'000);
    EXPECT_EQ(log(), saved()) << "once";
    EXPECT_TRUE(has(get("n.json"), "\"title\": \"xT\""));
}

TEST_F(Interaction, aReadOnlyNoteReportsNothingAndIsDraggedByItsTitle) {
    open(",\"title\":\"T\",\"content\":\"c\"");
    type(kInBody, u"abc");
    EXPECT_EQ(textOf(body()), "c");
    SetWindowTextW(title(), TEXT("other"));
    after(5000);
    EXPECT_EQ(log(), "");
    platform::desktop::moveMouse(kInTitle);
    EXPECT_EQ(platform::desktop::shownCursor(), LoadCursorW(nullptr, IDC_ARROW));
    drag(kInTitle, {kInTitle.x + 300, kInTitle.y + 50});
    EXPECT_EQ(places(), "400,150-660,410");
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "\"x\": 400"));
    SendMessageW(title(), WM_LBUTTONDBLCLK, 0, 0);
    platform::desktop::moveMouse({kInTitle.x + 310, kInTitle.y + 50});
    platform::desktop::releaseMouse();
    EXPECT_EQ(places(), "410,150-670,410") << "by a double click as well";
}

TEST_F(Interaction, anEditableTitleIsNoHandleButTheBarIs) {
    open(",\"editable\":true,\"allowNewNote\":true");
    drag(kInTitle, {500, 500});
    EXPECT_EQ(places(), "100,100-360,360");
    drag(kOnFreeBar, {kOnFreeBar.x + 40, kOnFreeBar.y - 60});
    EXPECT_EQ(places(), "140,40-400,300");
    EXPECT_EQ(log(), saved()) << "one at the end, none during the drag";
}

TEST_F(Interaction, edgesSizeTheWindowDownToItsLeastSize) {
    open(",\"editable\":true");
    drag({359, 359}, {459, 409});
    EXPECT_EQ(places(), "100,100-460,410");
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "\"width\": 360"));
    EXPECT_EQ(sides(platform::findWindow(body())->rect), "10,30-350,280") << "the body follows";
    drag({459, 200}, {0, 200});
    drag({150, 409}, {150, 0});
    EXPECT_EQ(places(), "100,100-240,220");
}

TEST_F(Interaction, aNoteDroppedOnAnotherSlidesAwayAndASizedOneStays) {
    putNote("other", ",\"position\":{\"x\":500,\"y\":100,\"width\":260,\"height\":260}");
    open();
    drag({359, 359}, {600, 359});
    EXPECT_EQ(places(), "100,100-601,360 500,100-760,360");
    drag({600, 359}, {359, 359});
    drag(kOnFreeBar, {kOnFreeBar.x + 300, kOnFreeBar.y});
    EXPECT_EQ(places(), "664,364-924,624 500,100-760,360");
    EXPECT_TRUE(has(get("n.json"), "\"x\": 664"));
}

TEST_F(Interaction, aNoteWhoseFileGoesWhileItIsDraggedCloses) {
    open(",\"title\":\"T\"");
    for (const POINT handle : {kOnFreeBar, kInTitle, POINT{359, 359}}) {
        write("n", ",\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":260}");
        drag(handle, {500, 500}, [&] { tellRemoved(app, "n.json"); });
        EXPECT_EQ(places(), "");
        EXPECT_FALSE(has(log(), "Saved"));
    }
}

TEST_F(Interaction, bothWaysOfClosingEndTheNoteOnceOnEveryMonitor) {
    platform::desktop::setMonitors({{u"1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true},
                                    {u"2", {-1920, -1080, 0, 0}, {-1920, -1080, 0, 0}, 96, false}});
    open(",\"editable\":true,\"content\":\"x\"");
    platform::desktop::click(kOnClose);
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=n\r\n");
    EXPECT_FALSE(std::filesystem::exists(notes() / "n.json"));
    EXPECT_EQ(places(), "");
    write("left", ",\"position\":{\"x\":-800,\"y\":-600,\"width\":260,\"height\":260}");
    log();
    platform::desktop::click({-800 + 245, -600 + 13});
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=left\r\n");
    write("m", "");
    log();
    PostMessageW(firstNote(), WM_CLOSE, 0, 0);
    platform::desktop::pump();
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=m\r\n");
}

TEST_F(Interaction, aReleaseOverTheButtonCountsWhereverThePressWas) {
    open(",\"allowNewNote\":true");
    for (const auto& [pressed, released] : {std::pair{kInBody, kOnNew}, {kOnNew, kInBody}}) {
        platform::desktop::moveMouse(pressed);
        platform::desktop::pressMouse();
        platform::desktop::moveMouse(released);
        platform::desktop::releaseMouse();
        EXPECT_EQ(has(log(), "[INFO ] App: New note created: id="), pressed.y == kInBody.y);
        EXPECT_EQ(noteRects().size(), 2U);
    }
}

TEST_F(Interaction, withoutPermissionThereIsNoNewNoteButton) {
    open();
    platform::desktop::click(kOnNew);
    EXPECT_FALSE(has(log(), "New note"));
}

TEST_F(Interaction, aChangeFromOutsideIsNoEdit) {
    open(",\"editable\":true,\"title\":\"old\",\"content\":\"old\"");
    write("n", ",\"editable\":true,\"title\":\"new\",\"content\":\"one\\ntwo\"");
    EXPECT_EQ(textOf(title()), "new");
    EXPECT_EQ(textOf(body()), "one\r\ntwo");
    log();
    after(10'000);
    EXPECT_EQ(log(), "") << "nothing comes back as a save";
    type(kInBody, u"!");
    write("n", ",\"editable\":true,\"content\":\"third\"");
    log();
    after(800);
    EXPECT_EQ(log(), saved()) << "an edit in flight is reported, with what the control then holds";
    EXPECT_TRUE(has(get("n.json"), "third"));
}

TEST_F(Interaction, everyColourIsTheNotesOwnAlsoAfterAChange) {
    const auto painted = [](const std::string& body, const std::string& bar, const std::string& rest) {
        return R"(,"contentRtf":"{\\rtf1{\\colortbl;\\red1;}\\cf1 a}","bgColor":"#)" + body +
               R"(","titleBarBGColor":"#)" + bar + R"(","noteTitleColor":"#303030","noteBodyColor":"#)" + rest + "\"";
    };
    open(painted("101010", "202020", "404040"));
    EXPECT_EQ(colors(),
              "FF101010 FF202020 303030/202020 303030/202020 404040/101010 404040/101010 404040 404040/101010");
    write("n", painted("505050", "606060", "808080"));
    EXPECT_EQ(colors(),
              "FF505050 FF606060 303030/606060 303030/606060 808080/505050 808080/505050 808080 808080/505050");
    write("n", R"(,"content":"a","bgColor":"#707070")");
    EXPECT_EQ(colors(),
              "FF707070 FF5E5E5E 1E1E1E/5E5E5E 1E1E1E/5E5E5E 1E1E1E/707070 1E1E1E/707070 1E1E1E 1E1E1E/707070");
}

TEST_F(Interaction, richTextWinsAndSurvivesAnEdit) {
    open(R"(,"editable":true,"content":"plain","contentRtf":"{\\rtf1\\ansi caf\\'e9 \\u9733?\\par two}")");
    EXPECT_EQ(textOf(body()), "caf\xC3\xA9 \xE2\x98\x85\r\ntwo");
    type(kInTitle, u"t");
    after(800);
    EXPECT_TRUE(has(get("n.json"), "\"content\": \"caf\xC3\xA9 \xE2\x98\x85\\ntwo\"")) << get("n.json");
    EXPECT_FALSE(has(get("n.json"), "\\u0000")) << "the control's final zero is no part of the text";
    after(5000);
    tellRemoved(app, "n.json");
    EXPECT_EQ(places(), "");
    tellChanged(app, "n.json");
    EXPECT_EQ(textOf(body()), "caf\xC3\xA9 \xE2\x98\x85\r\ntwo") << "again from the saved file";
}

TEST_F(Interaction, anEditInFlightGoesOutWithTheWindowUnlessTheAppClosesIt) {
    open(",\"editable\":true,\"content\":\"x\"");
    type(kInBody, u"y");
    DestroyWindow(firstNote());  // by somebody else
    platform::desktop::pump();
    EXPECT_EQ(log(), saved());
    EXPECT_TRUE(has(get("n.json"), "yx"));
    write("m", ",\"editable\":true,\"position\":{\"x\":100,\"y\":100}");
    EXPECT_EQ(places(), "100,100-360,360") << "a window that is gone is in nobody's way";
    type(kInBody, u"z");
    log();
    tellRemoved(app, "m.json");
    EXPECT_FALSE(has(log(), "Saved"));
}

TEST_F(Interaction, aLongNoteIsNotCutByItsNextSave) {
    open(R"(,"editable":true,"contentRtf":"{\\rtf1 )" + std::string(40000, 'x') + "}\"");
    type(kInBody, u"y");
    after(800);
    EXPECT_GT(get("n.json").size(), 80000U) << "as plain text and as RTF";
}

TEST_F(Interaction, aFailedSaveKeepsTheEditForTheNextOne) {
    open(",\"editable\":true,\"content\":\"\"");
    type(kInBody, u"kept");
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
    type(kInTitle, u"x");
    after(800);
    EXPECT_TRUE(has(get("n.json"), "\"content\": \"kept\"")) << get("n.json");
    EXPECT_TRUE(has(get("n.json"), "{\\\\rtf1 kept}"));
}

TEST_F(Interaction, windowsHaveTheStylesThatMakeANote) {
    open(",\"editable\":true");
    EXPECT_EQ(window()->kind->style, UINT{CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_DROPSHADOW});
    const auto styleOf = [](HWND handle) { return static_cast<DWORD>(GetWindowLongW(handle, GWL_STYLE)); };
    EXPECT_EQ(styleOf(firstNote()), WS_POPUP | WS_CLIPCHILDREN | WS_VISIBLE);
    EXPECT_EQ(GetWindowLongW(firstNote(), GWL_EXSTYLE), WS_EX_TOOLWINDOW | WS_EX_TOPMOST);
    EXPECT_EQ(styleOf(title()), 0x50000080U);
    EXPECT_EQ(styleOf(body()), 0x50209144U);
    EXPECT_EQ(platform::findWindow(title())->id, 1001U);
    EXPECT_EQ(platform::findWindow(body())->id, 1002U);
    write("m", "");
    EXPECT_EQ(styleOf(title()), 0x50000880U) << "read-only";
    EXPECT_EQ(styleOf(body()), 0x50209944U);
}

TEST_F(Interaction, aFrameIsDrawnToTheRules) {
    open(",\"author\":\"Ann\",\"created\":\"2026-03-14T12:00:00Z\",\"allowNewNote\":true");
    EXPECT_EQ(described(title()) + described(body()),
              "10,3-206,22 Segoe UI 14 700 0 0\n"
              "10,30-250,230 Segoe UI 12 400 0 0\n");
    const std::string bands =
        "fill 0,0-260,260 FFFEEB4D\n"
        "fill 0,0-260,26 FFECD93B\n"
        "line 0,25-260,25 FFDBC82A 1.0\n"
        "line 0,240-260,240 FFDBC82A 1.0\n";
    const std::string cross =
        "line 240,8-250,18 DC1E1E1E 1.5\n"
        "line 250,8-240,18 DC1E1E1E 1.5\n";
    const std::string plus =
        "line 216,13-226,13 DC1E1E1E 1.5\n"
        "line 221,8-221,18 DC1E1E1E 1.5\n";
    const auto footer = [](const std::string& date) {
        return "text 10,240-250,260 FF505050 8824 Segoe UI 10 400 Ann  \xE2\x80\xA2  " + date + "\n";
    };
    EXPECT_EQ(frame(), bands + cross + plus + footer("3/14/2026"));
    platform::desktop::moveMouse(kOnClose);
    EXPECT_EQ(frame(), bands + "fill 235,3-255,23 3C000000\n" + cross + plus + footer("3/14/2026"));
    platform::desktop::moveMouse(kOnNew);
    EXPECT_EQ(frame(), bands + cross + "fill 211,3-231,23 3C000000\n" + plus + footer("3/14/2026"));
    platform::desktop::moveMouse(kInBody);
    EXPECT_EQ(frame(), bands + cross + plus + footer("3/14/2026")) << "the mouse has left";
    for (const auto& [zone, date] : {std::pair{"<+13>-13", "3/15/2026"}, {"<-13>13", "3/13/2026"}}) {
        useZone(zone);
        InvalidateRect(firstNote(), nullptr, FALSE);
        platform::desktop::pump();
        EXPECT_EQ(frame(), bands + cross + plus + footer(date)) << "the day where the user is";
    }
}

TEST_F(Interaction, everyLengthFollowsTheDpiOfTheMonitor) {
    open(",\"editable\":true");
    const auto expectTwiceAsLarge = [] {
        EXPECT_EQ(described(title()) + described(body()) + frame(),
                  "20,6-460,43 Segoe UI 28 700 0 0\n"
                  "20,60-500,460 Segoe UI 24 400 0 0\n"
                  "fill 0,0-520,520 FFFEEB4D\n"
                  "fill 0,0-520,52 FFECD93B\n"
                  "line 0,51-520,51 FFDBC82A 1.0\n"
                  "line 0,480-520,480 FFDBC82A 1.0\n"
                  "line 480,16-500,36 DC1E1E1E 2.5\n"
                  "line 500,16-480,36 DC1E1E1E 2.5\n"
                  "text 20,480-500,520 FF505050 8824 Segoe UI 20 400 11/14/2023\n");
    };
    const auto useMonitor = [](LONG dpi) {
        platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 3840, 2160}, {0, 0, 3840, 2080}, dpi, true}});
        platform::desktop::pump();
    };
    useMonitor(192);
    EXPECT_EQ(places(), "100,100-620,620");
    expectTwiceAsLarge();
    after(5000);
    EXPECT_EQ(log(), "") << "nothing is saved for it";
    write("m", ",\"position\":{\"x\":1000,\"y\":100,\"width\":520,\"height\":520}");
    expectTwiceAsLarge();
    drag({1000 + 504, 300}, {0, 300});
    EXPECT_EQ(places(), "1000,100-1280,620 100,100-620,620") << "the edge, and the least size";
    useMonitor(96);
    EXPECT_EQ(described(title()), "10,3-110,22 Segoe UI 14 700 0 0\n");
}

TEST_F(Interaction, logosComeFromFilesAndFromText) {
    const std::string gif = "R0lGODlhAQABAIAAAP8AAAAAACwAAAAAAQABAAACAkQBADs=";
    const std::vector<BYTE> bytes = decodeBase64(wide(gif));
    const std::string image(bytes.begin(), bytes.end());
    const char* const unusable = "[WARN ] NoteWindow: logo: not a usable filename or base64 image (id=";
    const char* const undecodable = "[WARN ] NoteWindow: logo: GDI+ could not decode base64 image (id=";
    const struct {
        std::string logo, defaultFile;
        bool isShown;
        const char* line;
    } rows[] = {
        {"", "", false, ""},
        {"", "no image", false, ""},
        {"", image, true, ""},
        {"a.gif", "", true, ""},
        {"bad.png", "", false, unusable},
        {"missing.png", "", false, unusable},
        {gif, "", true, ""},
        {"data:image/gif;base64," + gif, "", true, ""},
        {"R0lG ODlh", "", false, undecodable},
        {gif.substr(0, 20), "", false, undecodable},
        {" ", "", false, ""},
    };
    ASSERT_EQ(start(app), kEnterMessageLoop);
    std::filesystem::create_directories(notes() / "Resources/logos");
    put("Resources/logos/bad.png", "no image");
    put("Resources/logos/a.gif", image);
    int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.logo + row.defaultFile);
        if (!row.defaultFile.empty()) put("Resources/logos/default.gif", row.defaultFile);
        log();
        write("logo" + std::to_string(++number), ",\"logo\":\"" + row.logo + "\"");
        const std::string text = log();
        EXPECT_EQ(has(text, "logo:"), *row.line != 0) << text;
        EXPECT_TRUE(has(text, row.line)) << text;
        EXPECT_EQ(has(frame(), "image 10,2-32,24 "), row.isShown) << frame();
        EXPECT_TRUE(has(described(title()), row.isShown ? "36,3-230,22 " : "10,3-230,22 ")) << described(title());
    }
}

TEST_F(Interaction, aFolderOfLogosThatIsNoneCostsOneQuestion) {
    ASSERT_EQ(start(app), kEnterMessageLoop);
    const auto questionsOf = [&](const std::string& id) {
        platform::faults::clear();
        write(id, "");
        return platform::faults::uses("GetFileAttributesW");
    };
    EXPECT_EQ(questionsOf("missing"), 1U);
    std::filesystem::create_directories(notes() / "Resources");
    put("Resources/logos", "a file");
    EXPECT_EQ(questionsOf("file"), 1U);
    std::filesystem::remove(notes() / "Resources/logos");
    std::filesystem::create_directories(notes() / "Resources/logos");
    EXPECT_EQ(questionsOf("empty"), 6U) << "the folder, and each name of a default logo";
}

TEST_F(Interaction, newSaveAndDismissLeaveNothingWhateverFails) {
    ASSERT_EQ(start(app), kEnterMessageLoop);
    platform::clock::useRealTime();
    const std::string before = leftOpen();
    const std::size_t handles = platform::faults::openHandles();
    for (unsigned use = 1; use < 1000; ++use) {
        platform::faults::clear();
        platform::faults::arm({"*", use, platform::faults::Action::Fail, 1450});
        send(app, WM_APP_NOTE_NEW);
        const bool fired = platform::faults::fired();
        platform::faults::clear();
        SCOPED_TRACE("failing call " + std::to_string(use));
        const std::string text = log();
        // Either the file or the line in the log is there to tell the id.
        for (const auto& entry : std::filesystem::directory_iterator(notes()))
            sendText(app, WM_APP_NOTE_DISMISS, wide(entry.path().stem().string()));
        if (const std::size_t at = text.find("New note created: id="); at != std::string::npos)
            sendText(app, WM_APP_NOTE_DISMISS, wide(text.substr(at + 21, text.find("\r\n", at) - at - 21)));
        while (firstNote() != nullptr)
            DestroyWindow(firstNote());
        EXPECT_EQ(leftOpen(), before);
        EXPECT_EQ(platform::faults::openHandles(), handles);
        if (HasFailure()) FAIL() << text;
        if (!fired) break;
    }
}
