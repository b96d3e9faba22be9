// A user works with a note: typing, closing, dragging, buttons, outside changes, and painting.

#include "machine/support/DisplayFixture.h"
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
    // Sets TZ. The zones here need no time zone data of the system.
    static void useZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    // Opens one note of 260 by 260 at 100, 100.
    void open(const std::string& more = "", const std::string& id = "n") {
        putNote(id, ",\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":260}" + more);
        ASSERT_EQ(start(app), kEnterMessageLoop);
        platform::desktop::pump();
        log();
    }
    // Creates or replaces the file of a note, as a writer does.
    void write(const std::string& id, const std::string& more) const {
        putNote(id, more);
        tellChanged(app, id + ".json");
    }
    static std::shared_ptr<platform::Window> window() { return platform::findWindow(firstNote()); }
    static HWND title() { return window()->children[0]; }
    static HWND body() { return window()->children[1]; }
    static void type(POINT where, std::u16string_view text) {
        platform::desktop::click(where);
        platform::desktop::typeText(text);
    }
    std::string logAfter(std::int64_t milliseconds) const {
        after(milliseconds);
        return log();
    }
    void after(std::int64_t milliseconds) const {
        platform::clock::advance(milliseconds);
        platform::desktop::pump();
    }
    static const char* saved() { return "[DEBUG] App: Saved note id=n\r\n"; }

    static std::string frame() { return platform::desktop::describePainting(firstNote()); }
    static std::string controls() { return platform::desktop::describeControls(firstNote()); }

    App app;
};

constexpr POINT kInTitle = {150, 110}, kInBody = {150, 180}, kOnClose = {345, 113}, kOnNew = {320, 113},
                kOnFreeBar = {333, 113};

const std::string kBands =
    "fill 0,0-260,260 FFFEEB4D\n"
    "fill 0,0-260,26 FFECD93B\n"
    "line 0,25-260,25 FFDBC82A 1.0\n"
    "line 0,240-260,240 FFDBC82A 1.0\n";
const std::string kCross =
    "line 240,8-250,18 DC1E1E1E 1.5\n"
    "line 250,8-240,18 DC1E1E1E 1.5\n";
const std::string kPlus =
    "line 216,13-226,13 DC1E1E1E 1.5\n"
    "line 221,8-221,18 DC1E1E1E 1.5\n";
std::string footer(const std::string& date) {
    return "text 10,240-250,260 FF505050 8824 Segoe UI 10 400 Ann  \xE2\x80\xA2  " + date + "\n";
}

}  // namespace

TEST_F(Interaction, threeKeysAreSavedOnce800MsAfterTheLast) {
    open(",\"editable\":true,\"title\":\"T\",\"content\":\"old\",\"modified\":\"2020-01-01T00:00:00Z\"");
    platform::desktop::click(kInTitle);
    platform::desktop::click(kInBody);
    EXPECT_EQ(logAfter(5000), "") << "neither opening nor a click is an edit";
    SetWindowPos(firstNote(), nullptr, 110, 90, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);  // moved by another program
    for (const char16_t* key : {u"a", u"b", u"c"}) {
        platform::desktop::typeText(key);
        EXPECT_EQ(logAfter(500), "");
    }
    EXPECT_EQ(logAfter(299), "");
    EXPECT_EQ(logAfter(1), saved());
    const std::string file = get("n.json");
    for (const char* part :
         {"\"content\": \"abcold\"", "\"contentRtf\"", "\"title\": \"T\"", "\"x\": 110", "\"y\": 90"})
        EXPECT_TRUE(has(file, part)) << part << file;
    EXPECT_FALSE(has(file, "2020-01-01")) << "modified moves";
    EXPECT_EQ(logAfter(10'000), "") << "once";
}

TEST_F(Interaction, titleIsSavedAsWell) {
    open(",\"editable\":true,\"title\":\"T\"");
    type({110, 110}, u"x");
    EXPECT_EQ(logAfter(800), saved());
    EXPECT_TRUE(has(get("n.json"), "\"title\": \"xT\"")) << get("n.json");
}

TEST_F(Interaction, readOnlyNoteCannotBeEdited) {
    open(",\"title\":\"T\",\"content\":\"c\"");
    type(kInBody, u"abc");
    EXPECT_EQ(textOf(body()), "c");
    SetWindowTextW(title(), TEXT("other"));
    EXPECT_EQ(logAfter(5000), "");
    platform::desktop::click(kOnNew);
    EXPECT_EQ(log(), saved()) << "without a button this is a part of the bar";
}

TEST_F(Interaction, readOnlyNoteIsDraggedByItsTitle) {
    open(",\"title\":\"T\",\"content\":\"c\"");
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

TEST_F(Interaction, editableNoteIsMovedByItsBarAndSizedByItsEdges) {
    open(",\"editable\":true,\"allowNewNote\":true");
    const std::tuple<POINT, POINT, const char*, const char*> rows[] = {
        {kInTitle, {500, 500}, "100,100-360,360", ""},
        {kOnFreeBar, {kOnFreeBar.x + 40, kOnFreeBar.y - 60}, "140,40-400,300", saved()},
        {{399, 299}, {499, 349}, "140,40-500,350", saved()},
        {{499, 200}, {0, 200}, "140,40-280,350", saved()},  // down to the minimum size
        {{150, 349}, {150, 0}, "140,40-280,160", saved()},
        {{141, 41}, {100, 20}, "99,19-280,160", saved()}};
    for (const auto& [from, to, place, line] : rows) {
        drag(from, to);
        EXPECT_EQ(places(), place);
        EXPECT_EQ(log(), line) << "one at the end, none during the drag";
    }
    EXPECT_TRUE(has(get("n.json"), "\"width\": 181"));
    EXPECT_TRUE(has(controls(), "RICHEDIT50W 10,30-171,111 ")) << "the body follows";
}

TEST_F(Interaction, noteDroppedOnAnotherMovesAwayButAResizedOneStays) {
    putNote("other", ",\"position\":{\"x\":500,\"y\":100,\"width\":260,\"height\":260}");
    open();
    drag({359, 359}, {600, 359});
    EXPECT_EQ(places(), "100,100-601,360 500,100-760,360");
    drag({600, 359}, {359, 359});
    drag(kOnFreeBar, {kOnFreeBar.x + 300, kOnFreeBar.y});
    EXPECT_EQ(places(), "664,364-924,624 500,100-760,360");
    EXPECT_TRUE(has(get("n.json"), "\"x\": 664"));
}

TEST_F(Interaction, noteDroppedOnAnotherAtTheScreenEdgeMovesAlongIt) {
    putNote("other", ",\"position\":{\"x\":1660,\"y\":100,\"width\":260,\"height\":260}");
    open();
    drag(kOnFreeBar, {kOnFreeBar.x + 1560, kOnFreeBar.y});
    EXPECT_EQ(places(), "1660,364-1920,624 1660,100-1920,360");
}

TEST_F(Interaction, noteClosesWhenItsFileIsDeletedDuringADrag) {
    open(",\"title\":\"T\"");
    for (const POINT handle : {kOnFreeBar, kInTitle, POINT{359, 359}}) {
        write("n", ",\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":260}");
        drag(handle, {500, 500}, [&] { tellRemoved(app, "n.json"); });
        EXPECT_EQ(places(), "");
        EXPECT_FALSE(has(log(), "Saved"));
    }
}

TEST_F(Interaction, closeButtonAndCloseMessageDismissTheNoteOnce) {
    platform::desktop::setMonitors({{u"1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true},
                                    {u"2", {-1920, -1080, 0, 0}, {-1920, -1080, 0, 0}, 96, false}});
    open(",\"editable\":true,\"content\":\"x\"");
    write("left", ",\"position\":{\"x\":-800,\"y\":-600,\"width\":260,\"height\":260}");
    write("m", "");
    log();
    PostMessageW(firstNote(), WM_CLOSE, 0, 0);
    platform::desktop::pump();
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=m\r\n");
    for (const auto& [id, button] : {std::pair{"left", POINT{-800 + 245, -600 + 13}}, {"n", kOnClose}}) {
        platform::desktop::click(button);
        EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=" + std::string(id) + "\r\n");
    }
    EXPECT_EQ(places(), "");
    EXPECT_FALSE(fs::exists(notes() / "n.json"));
}

TEST_F(Interaction, buttonReactsToTheReleaseOnly) {
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

TEST_F(Interaction, changeOfTheFileIsNotSavedAsAnEdit) {
    open(",\"editable\":true,\"title\":\"old\",\"content\":\"old\"");
    write("n", ",\"editable\":true,\"title\":\"new\",\"content\":\"one\\ntwo\"");
    EXPECT_EQ(textOf(title()) + ": " + textOf(body()), "new: one\r\ntwo");
    log();
    EXPECT_EQ(logAfter(10'000), "");
    type(kInBody, u"!");
    write("n", ",\"editable\":true,\"content\":\"third\"");
    log();
    EXPECT_EQ(logAfter(800), saved()) << "a waiting edit is saved, with what the control then holds";
    EXPECT_TRUE(has(get("n.json"), "third"));
}

TEST_F(Interaction, coloursFollowTheNoteAfterEachChange) {
    const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
        {R"("bgColor":"#101010","titleBarBGColor":"#202020","noteTitleColor":"#303030","noteBodyColor":"#404040")",
         "303030 on 202020\n", "404040 on 101010, itself 404040 404040 on 101010\n", "FF101010", "FF202020"},
        {R"("bgColor":"#505050","titleBarBGColor":"#606060","noteTitleColor":"#707070","noteBodyColor":"#808080")",
         "707070 on 606060\n", "808080 on 505050, itself 808080 808080 on 505050\n", "FF505050", "FF606060"},
        {R"("bgColor":"#909090")", "1E1E1E on 7E7E7E\n", "1E1E1E on 909090, itself 1E1E1E 1E1E1E on 909090\n",
         "FF909090", "FF7E7E7E"}};
    open();
    for (const auto& [colors, title, body, bodyBand, bar] : rows)
        for (const std::string id : {"n", bar}) {  // an open note, and a newly opened one
            write(id, R"(,"contentRtf":"{\\rtf1{\\colortbl;\\red1;}\\cf1 a}",)" + std::string(colors));
            const std::string seen = controls() + frame();
            for (const char* part : {title, body, bodyBand, bar})
                EXPECT_TRUE(has(seen, part)) << part << "\n" << seen;
            if (id != "n") tellRemoved(app, id + ".json");
        }
}

TEST_F(Interaction, richTextHasPriorityAndSurvivesAnEdit) {
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

TEST_F(Interaction, destroyedWindowSavesAPendingEditUnlessTheAppClosesIt) {
    open(",\"editable\":true,\"content\":\"x\"");
    type(kInBody, u"y");
    DestroyWindow(firstNote());  // destroyed by another program
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

TEST_F(Interaction, failedSaveKeepsTheEditForTheNextSave) {
    open(R"(,"editable":true,"contentRtf":"{\\rtf1 )" + std::string(40000, 'x') + "}\"");
    type(kInBody, u"kept");
    failCall("CreateFileW", 1, ERROR_ACCESS_DENIED);
    after(800);
    EXPECT_TRUE(has(log(), "saveNote failed: id=n"));
    save(app, "n");
    EXPECT_TRUE(has(get("n.json"), "kept"));
    EXPECT_GT(get("n.json").size(), 80000U) << "as plain text and as RTF";
}

TEST_F(Interaction, contentSurvivesWithoutTheRichEditLibrary) {
    failCall("LoadLibraryW", 0, ERROR_MOD_NOT_FOUND);
    open(R"(,"editable":true,"title":"t","content":"kept","contentRtf":"{\\rtf1 kept}")");
    ASSERT_EQ(window()->children.size(), 1U);
    type(kInTitle, u"x");
    after(800);
    EXPECT_TRUE(has(get("n.json"), "\"content\": \"kept\"")) << get("n.json");
    EXPECT_TRUE(has(get("n.json"), "{\\\\rtf1 kept}"));
}

TEST_F(Interaction, noteWindowsAndControlsHaveTheirStyles) {
    open(",\"editable\":true");
    EXPECT_EQ(window()->kind->style, UINT{CS_VREDRAW | CS_HREDRAW | CS_DBLCLKS | CS_DROPSHADOW});
    write("m", "");
    const std::string windows = platform::desktop::describeWindows();
    for (const char* style : {"style=92000000 ex=00000088 shown Vellumd.NoteWindow",
                              "style=50000080 ex=00000000 shown EDIT", "style=50209144 ex=00000000 shown RICHEDIT50W",
                              "style=50000880 ex=00000000 shown EDIT", "style=50209944 ex=00000000 shown RICHEDIT50W"})
        EXPECT_TRUE(has(windows, style)) << style << "\n" << windows;
    EXPECT_EQ(platform::findWindow(title())->id, 1001U);
    EXPECT_EQ(platform::findWindow(body())->id, 1002U);
}

TEST_F(Interaction, paintsBandsButtonsAndFooter) {
    open(",\"author\":\"Ann\",\"created\":\"2026-03-14T12:00:00Z\",\"allowNewNote\":true");
    EXPECT_EQ(
        controls(),
        "EDIT 10,3-206,22 Segoe UI 14 700 margins 0 0, 1E1E1E on ECD93B\n"
        "RICHEDIT50W 10,30-250,230 Segoe UI 12 400 margins 0 0, 1E1E1E on FEEB4D, itself 1E1E1E 1E1E1E on FEEB4D\n");
    EXPECT_EQ(frame(), kBands + kCross + kPlus + footer("3/14/2026"));
    for (const auto& [zone, date] : {std::pair{"<+13>-13", "3/15/2026"}, {"<-13>13", "3/13/2026"}}) {
        useZone(zone);
        InvalidateRect(firstNote(), nullptr, FALSE);
        platform::desktop::pump();
        EXPECT_EQ(frame(), kBands + kCross + kPlus + footer(date)) << "the day where the user is";
    }
}

TEST_F(Interaction, highlightsTheButtonUnderTheMouse) {
    open(",\"author\":\"Ann\",\"created\":\"2026-03-14T12:00:00Z\",\"allowNewNote\":true");
    const std::pair<POINT, std::string> rows[] = {{kOnClose, kBands + "fill 235,3-255,23 3C000000\n" + kCross + kPlus},
                                                  {kOnNew, kBands + kCross + "fill 211,3-231,23 3C000000\n" + kPlus},
                                                  {kInBody, kBands + kCross + kPlus}};
    for (const auto& [mouse, painted] : rows) {
        platform::desktop::moveMouse(mouse);
        EXPECT_EQ(frame(), painted + footer("3/14/2026"));
    }
}

TEST_F(Interaction, everyLengthFollowsTheDpiOfTheMonitor) {
    open(",\"editable\":true");
    const auto expectTwiceAsLarge = [] {
        EXPECT_EQ(
            controls() + frame(),
            "EDIT 20,6-460,43 Segoe UI 28 700 margins 0 0, 1E1E1E on ECD93B\n"
            "RICHEDIT50W 20,60-500,460 Segoe UI 24 400 margins 0 0, 1E1E1E on FEEB4D, itself 1E1E1E 1E1E1E on FEEB4D\n"
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
    EXPECT_TRUE(has(controls(), "EDIT 10,3-110,22 Segoe UI 14 ")) << controls();
}

TEST_F(Interaction, logoIsReadFromAFileOrFromBase64) {
    const std::string gif = "R0lGODlhAQABAIAAAP8AAAAAACwAAAAAAQABAAACAkQBADs=";
    const std::vector<BYTE> bytes = decodeBase64(wide(gif));
    const std::string image(bytes.begin(), bytes.end());
    const char* const unusable = "[WARN ] NoteWindow: logo: not a usable filename or base64 image (id=";
    const char* const undecodable = "[WARN ] NoteWindow: logo: GDI+ could not decode base64 image (id=";
    const std::tuple<std::string, std::string, bool, const char*> rows[] = {
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
        {" ", "", false, ""}};
    ASSERT_EQ(start(app), kEnterMessageLoop);
    fs::create_directories(notes() / "Resources/logos");
    put("Resources/logos/bad.png", "no image");
    put("Resources/logos/a.gif", image);
    int number = 0;
    for (const auto& [logo, defaultFile, isShown, line] : rows) {
        SCOPED_TRACE(logo + defaultFile);
        if (!defaultFile.empty()) put("Resources/logos/default.gif", defaultFile);
        log();
        write("logo" + std::to_string(++number), ",\"logo\":\"" + logo + "\"");
        const std::string text = log();
        EXPECT_EQ(has(text, "logo:"), *line != 0) << text;
        EXPECT_TRUE(has(text, line)) << text;
        EXPECT_EQ(has(frame(), "image 10,2-32,24 "), isShown) << frame();
        EXPECT_TRUE(has(controls(), isShown ? "EDIT 36,3-230,22 " : "EDIT 10,3-230,22 ")) << controls();
    }
}

TEST_F(Interaction, missingLogoFolderIsSearchedOnce) {
    ASSERT_EQ(start(app), kEnterMessageLoop);
    const auto questionsOf = [&](const std::string& id) {
        platform::faults::clear();
        write(id, "");
        return platform::faults::uses("GetFileAttributesW");
    };
    EXPECT_EQ(questionsOf("missing"), 1U);
    fs::create_directories(notes() / "Resources");
    put("Resources/logos", "a file");
    EXPECT_EQ(questionsOf("file"), 1U);
    fs::remove(notes() / "Resources/logos");
    fs::create_directories(notes() / "Resources/logos");
    EXPECT_EQ(questionsOf("empty"), 6U) << "the folder, and each name of a default logo";
}

TEST_F(Interaction, failingCallOfANewNoteLeaksNothing) {
    ASSERT_EQ(start(app), kEnterMessageLoop);
    platform::clock::useRealTime();
    const std::string before = leftOpen();
    const auto dismiss = [&](const std::string& id) { sendText(app, WM_APP_NOTE_DISMISS, wide(id)); };
    const auto check = [&](bool) {
        const std::string text = log();
        // The file or the log line gives the id of the new note.
        for (const auto& entry : fs::directory_iterator(notes()))
            dismiss(entry.path().stem().string());
        if (const std::size_t at = text.find("New note created: id="); at != std::string::npos)
            dismiss(text.substr(at + 21, text.find("\r\n", at) - at - 21));
        while (firstNote() != nullptr)
            DestroyWindow(firstNote());
        EXPECT_EQ(leftOpen(), before) << text;
    };
    EXPECT_GT(forEachFailingCall([&] { send(app, WM_APP_NOTE_NEW); }, check, 1450), 50U);
}
