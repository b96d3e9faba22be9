// How the open notes follow the files, at the edges of time and of names.
#include <gtest/gtest.h>

#include "DisplayFixture.h"

namespace {

class Lifecycle : public DisplayMachine {
  protected:
    void restart() { EXPECT_EQ(start(app), kEnterMessageLoop); }
    // A line of the log that ends with the path of a file.
    std::string line(const std::string& text, const std::string& file) { return text + utf8(path(file)) + "\r\n"; }
    ~Lifecycle() override {
        platform::clock::useRealTime();
        app.shutdown();
    }
    App app;
};

}  // namespace

TEST_F(Lifecycle, ownWritesAreIgnoredForThreeSeconds) {
    putNote("a");
    restart();
    save(app, "a");
    platform::clock::advance(2999);
    log();
    tellChanged(app, "a.json");
    tellChanged(app, "a.json");
    const std::string ignored = line("[DEBUG] App: Ignoring own change notification: ", "a.json");
    EXPECT_EQ(log(), ignored + ignored);
    tellRemoved(app, "a.json");
    EXPECT_EQ(log(), line("[DEBUG] App: Ignoring own remove notification: ", "a.json"));

    platform::clock::advance(1);
    tellChanged(app, "a.json");
    EXPECT_EQ(log(),
              line("[DEBUG] App: File added: ", "a.json") + "[DEBUG] App: Note already open, updating: id=a\r\n");
    save(app, "a");
    platform::clock::advance(3000);
    log();
    tellRemoved(app, "a.json");
    EXPECT_EQ(log(), line("[DEBUG] App: File removed: ", "a.json") +
                         "[INFO ] App: Note closed (file deleted externally): id=a\r\n");
    EXPECT_EQ(noteRects().size(), 0U);
}

TEST_F(Lifecycle, aSaveRenewsTheMarkAndAFailedOneTakesItAway) {
    putNote("a");
    restart();
    save(app, "a");
    platform::clock::advance(2000);
    save(app, "a");
    platform::clock::advance(2000);
    log();
    tellChanged(app, "a.json");
    EXPECT_TRUE(has(log(), "Ignoring own change"));
    platform::faults::arm({"MoveFileExW", 1, platform::faults::Action::Fail, 5});
    save(app, "a");
    EXPECT_EQ(log(), "[ERROR] App: saveNote failed: id=a path=" + utf8(path("a.json")) + " (cannot write file)\r\n");
    tellChanged(app, "a.json");
    EXPECT_TRUE(has(log(), "File added")) << "what comes now is somebody else's";
}

TEST_F(Lifecycle, theTimerForgetsOldWritesOnly) {
    putNote("a");
    putNote("b");
    restart();
    save(app, "a");
    platform::clock::advance(1);
    save(app, "b");
    platform::clock::advance(2999);  // the clock of the timer runs from the start
    platform::desktop::pump();
    const auto isForgotten = [&](const char* name) {
        // A clock that goes back lets an entry count again, if it is still there.
        platform::clock::advance(-2500);
        log();
        tellRemoved(app, std::string(name) + ".json");
        platform::clock::advance(2500);
        return !has(log(), "Ignoring own remove");
    };
    platform::clock::advance(2000);  // a is exactly 5000 old
    platform::desktop::pump();
    EXPECT_FALSE(isForgotten("a"));
    send(app, WM_TIMER, 77);  // its number does not matter
    EXPECT_FALSE(isForgotten("a")) << "exactly 5000 stays";
    platform::clock::advance(1);
    send(app, WM_TIMER, 1);
    EXPECT_TRUE(isForgotten("a"));
    EXPECT_FALSE(isForgotten("b"));
    platform::clock::advance(5000);
    platform::desktop::pump();  // the timer itself
    EXPECT_TRUE(isForgotten("b"));
}

TEST_F(Lifecycle, theFileNameIsTheId) {
    struct Row {
        const char* file;
        const char* jsonId;
        const char* id;
        bool warns;
    };
    const Row rows[] = {
        {"plain.json", "plain", "plain", false},    {"other.json", "mine", "other", true},
        {"CASE.json", "case", "case", false},       {"two.dots.json", "two.dots", "two.dots", false},
        {"two.part.json", "two", "two.part", true}, {".json", "hidden", "hidden", false},
        {"CAPS.JSON", "CAPS", "CAPS", false},       {"same1.json", "same", "same1", true},
        {"same2.json", "same", "same2", true},      {"noext", "x", "x", false},
    };
    restart();
    for (const Row& row : rows) {
        put(row.file, "{\"id\":\"" + std::string(row.jsonId) + "\"}");
        const std::size_t before = noteRects().size();
        log();
        tellChanged(app, row.file);
        const std::string text = log();
        EXPECT_TRUE(has(text, "Note opened: id=" + std::string(row.id) + "\r\n")) << text;
        EXPECT_EQ(has(text, "[WARN ] App: Filename/id mismatch: file=" + std::string(row.file) +
                                " jsonId=" + row.jsonId + "; using filename and rewriting on next save\r\n"),
                  row.warns)
            << text;
        EXPECT_EQ(noteRects().size(), before + 1);
        EXPECT_EQ(get(row.file), "{\"id\":\"" + std::string(row.jsonId) + "\"}") << "not rewritten yet";
    }
    for (const std::string id : {"other", "hidden"}) {
        save(app, id);
        EXPECT_TRUE(has(get(id + ".json"), "\"id\": \"" + id + "\"")) << get(id + ".json");
    }
    EXPECT_FALSE(std::filesystem::exists(notes() / "mine.json"));
}

TEST_F(Lifecycle, anIdThatLeadsOutOfTheFolderOpensNothing) {
    std::ofstream(folder() / "victim.json") << "precious";
    put(".json", R"({"id":"..\\victim","editable":true})");
    restart();
    EXPECT_TRUE(has(log(), "[WARN ] App: Failed to load note after 3 retries: " + utf8(path(".json")) +
                               " (invalid note structure)\r\n"));
    EXPECT_EQ(noteRects().size(), 0U);
    for (const UINT message : {WM_APP_NOTE_CHANGED, WM_APP_NOTE_DISMISS}) {  // a key, the cross
        sendText(app, message, TEXT("..\\victim"));
        EXPECT_EQ(contentOf(folder() / "victim.json"), "precious");
    }
}

TEST_F(Lifecycle, aRemovalIsLookedUpUnderTheNameOnDisk) {
    put("CASE.json", "{\"id\":\"case\"}");
    putNote("a");
    restart();
    log();
    tellRemoved(app, "CASE.json");
    EXPECT_FALSE(has(log(), "Note closed")) << "the note's id is spelled otherwise";
    tellRemoved(app, "case.json");
    EXPECT_TRUE(has(log(), "Note closed (file deleted externally): id=case\r\n"));
    tellRemoved(app, ".json");
    tellRemoved(app, "unknown.json");
    EXPECT_EQ(log(),
              line("[DEBUG] App: File removed: ", ".json") + line("[DEBUG] App: File removed: ", "unknown.json"));
    EXPECT_EQ(noteRects().size(), 1U);
}

TEST_F(Lifecycle, anUnreadableFileIsTriedThreeTimes) {
    putNote("a", ",\"title\":\"before\"");
    restart();
    struct Row {
        const char* name;
        const char* content;
        const char* why;
    };
    const Row rows[] = {{"bad.json", "{", "JSON parse error at line 1 col 2: expected string"},
                        {"array.json", "[]", "invalid note structure"},
                        {"gone.json", nullptr, "cannot read file"},
                        {".json", "{\"id\":\"a:b\"}", "invalid note structure"},
                        {"a.json", "{\"id\":\"\"}", "invalid note structure"}};
    for (const Row& row : rows) {
        if (row.content != nullptr) put(row.name, row.content);
        log();
        const std::int64_t start = platform::clock::now();
        tellChanged(app, row.name);
        EXPECT_EQ(log(), "[DEBUG] App: File added: " + utf8(path(row.name)) +
                             "\r\n[WARN ] App: Failed to load note after 3 retries: " + utf8(path(row.name)) + " (" +
                             row.why + ")\r\n");
        EXPECT_EQ(platform::clock::now() - start, 15 + 15) << "a pause behind the first try and behind the second";
    }
    EXPECT_EQ(noteRects().size(), 1U) << "an open note stays as it is";
    save(app, "a");
    EXPECT_TRUE(has(get("a.json"), "\"title\": \"before\""));
}

TEST_F(Lifecycle, aFileThatIsReadableAtTheSecondTryIsLoaded) {
    restart();
    putNote("late");
    platform::faults::arm({"ReadFile", 1, platform::faults::Action::Fail, 33});
    tellChanged(app, "late.json");
    EXPECT_TRUE(has(log(), "Note opened: id=late"));
}

TEST_F(Lifecycle, aWakeUpReadsTheFolderAnew) {
    putNote("a");
    putNote("gone");
    restart();
    save(app, "a");
    putNote("b");
    std::filesystem::create_directories(notes() / "folder.json");
    std::filesystem::remove(notes() / "gone.json");
    log();
    send(app, RegisterWindowMessageW(TEXT("Vellumd.WakeUp")));
    const std::string text = log();
    EXPECT_TRUE(has(text, "Note already open, updating: id=a\r\n")) << "own writes count too";
    EXPECT_TRUE(has(text, "Note opened: id=b\r\n"));
    EXPECT_TRUE(has(text, "[DEBUG] App: Initial scan: 2 file(s)\r\n"));
    EXPECT_EQ(noteRects().size(), 3U) << "what has no file any more stays open";
}

TEST_F(Lifecycle, theEndOfTheSessionSavesEveryNoteInTheOrderOfOpening) {
    restart();
    for (const char* id : {"c", "a", "b"}) {
        putNote(id);
        tellChanged(app, std::string(id) + ".json");
    }
    tellRemoved(app, "a.json");
    tellChanged(app, "a.json");  // opened anew: it goes to the end
    log();
    send(app, WM_ENDSESSION, FALSE);
    EXPECT_EQ(log(), "");
    send(app, WM_ENDSESSION, TRUE);
    EXPECT_EQ(log(),
              "[DEBUG] App: Saved note id=c\r\n[DEBUG] App: Saved note id=b\r\n[DEBUG] App: Saved note id=a\r\n");
    EXPECT_TRUE(has(get("c.json"), "\"position\"")) << "with the place where it was shown";
}

TEST_F(Lifecycle, aNoteThatHearsOfTheEndOfTheSessionSavesEveryWaitingEdit) {
    for (const char* id : {"a", "b", "c"})
        putNote(id, R"(,"editable":true)");
    restart();
    for (HWND note = nullptr; (note = FindWindowExW(nullptr, note, TEXT("Vellumd.NoteWindow"), nullptr)) != nullptr;)
        if (note != firstNote()) SendMessageW(note, WM_COMMAND, MAKELONG(0, EN_CHANGE), 0);
    log();
    SendMessageW(firstNote(), WM_ENDSESSION, FALSE, ENDSESSION_CLOSEAPP);
    EXPECT_FALSE(platform::desktop::pump());
    EXPECT_EQ(log(), "") << "the end was cancelled";
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(log(), "[DEBUG] App: Saved note id=a\r\n[DEBUG] App: Saved note id=b\r\n") << "before it returns";
    EXPECT_FALSE(platform::desktop::pump()) << "the logon goes on until the system ends the process";
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, ENDSESSION_CLOSEAPP);
    EXPECT_EQ(log(), "") << "nothing is saved twice";
    EXPECT_TRUE(platform::desktop::pump()) << "the loop ends";
}

TEST_F(Lifecycle, theEndOfTheSessionSavesWhatFilesStillLack) {
    for (const char* id : {"failed", "replaced", "saved"})
        putNote(id);
    restart();
    for (const char* id : {"failed", "replaced"}) {
        platform::faults::arm({"MoveFileExW", 1, platform::faults::Action::Fail, 5});
        save(app, id);
    }
    save(app, "saved");
    tellChanged(app, "replaced.json");  // the record is the file's again
    log();
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(log(), "[DEBUG] App: Saved note id=failed\r\n");
    SendMessageW(firstNote(), WM_ENTERSIZEMOVE, 0, 0);
    SendMessageW(firstNote(), WM_EXITSIZEMOVE, 0, 0);  // its message waits behind the one that is sent
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, 0);
    EXPECT_TRUE(has(log(), "Saved note id="));
}

TEST_F(Lifecycle, notesThatLieOnNoMonitorAreMovedToThePrimary) {
    platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true},
                                    {u"\\\\.\\DISPLAY2", {1920, 0, 3840, 1080}, {1920, 0, 3840, 1080}, 96, false}});
    putNote("far", R"(,"position":{"x":2000,"y":100,"width":300,"height":200})");
    putNote("near", R"(,"position":{"x":1900,"y":600,"width":300,"height":200})");
    restart();
    platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1921, 1041}, 96, true}});
    const HWND far = FindWindowExW(nullptr, firstNote(), TEXT("Vellumd.NoteWindow"), nullptr);
    for (const UINT message : {WM_SETTINGCHANGE, WM_DISPLAYCHANGE}) {
        SetWindowPos(far, nullptr, 2000, 100, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
        log();
        send(app, message);
        EXPECT_EQ(log(), "[DEBUG] App: Saved note id=far\r\n");
        const RECT centred = noteRects()[0];
        EXPECT_TRUE(centred.left == 810 && centred.top == 420 && centred.right == 1110);
        EXPECT_EQ(noteRects()[1].left, 1900);
        EXPECT_EQ(platform::desktop::activeWindow(), nullptr) << "the user's own window stays the active one";
        EXPECT_TRUE(has(get("far.json"), "\"x\": 2000")) << "the stored place follows with the window's own saves only";
        send(app, message);
        EXPECT_EQ(log(), "") << "nothing is left to rescue";
    }
}

TEST_F(Lifecycle, messagesForNotesThatAreGoneDoNothing) {
    restart();
    log();
    for (const UINT message : {WM_APP_NOTE_MOVED, WM_APP_NOTE_CHANGED, WM_APP_NOTE_DISMISS})
        sendText(app, message, TEXT("nobody"));
    for (UINT message = WM_APP_FILE_ADDED; message <= WM_APP_NOTE_CHANGED; ++message)
        send(app, message);  // without a text
    EXPECT_EQ(log(), "");
}

TEST_F(Lifecycle, dismissedAndNewNotes) {
    putNote("a");
    putNote("b");
    restart();
    log();
    sendText(app, WM_APP_NOTE_DISMISS, TEXT("a"));
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=a\r\n");
    EXPECT_FALSE(std::filesystem::exists(notes() / "a.json"));
    platform::faults::arm({"DeleteFileW", 1, platform::faults::Action::Fail, 32});
    sendText(app, WM_APP_NOTE_DISMISS, TEXT("b"));
    EXPECT_EQ(log(), "[WARN ] App: deleteFile failed for " + utf8(path("b.json")) + " (err=32)\r\n");
    EXPECT_EQ(noteRects().size(), 0U) << "gone from the screen in either case";
    EXPECT_TRUE(std::filesystem::exists(notes() / "b.json"));

    send(app, WM_APP_NOTE_NEW);
    const std::string text = log();
    ASSERT_TRUE(has(text, "[INFO ] App: New note created: id="));
    const std::string id = text.substr(text.find("id=") + 3, 36);
    EXPECT_TRUE(has(text, "[DEBUG] App: Saved note id=" + id + "\r\n"));
    const std::string file = get(id + ".json");
    EXPECT_TRUE(has(file, "\"editable\": true") && has(file, "\"author\": \"operator\"")) << file;
    EXPECT_TRUE(has(file, "\"device\": \"\\\\\\\\.\\\\DISPLAY1\"") && has(file, "\"x\": 1648")) << file;
    tellChanged(app, id + ".json");
    EXPECT_TRUE(has(log(), "Ignoring own change notification"));

    platform::faults::clear();
    platform::faults::arm({"CoCreateGuid", 0, platform::faults::Action::Fail, 5});
    for (const char* what : {"one note without an id", "the next takes its place"}) {
        send(app, WM_APP_NOTE_NEW);
        EXPECT_EQ(log(), "[INFO ] App: New note created: id=\r\n") << "without an id there is no file";
        tellRemoved(app, ".json");
        EXPECT_EQ(noteRects().size(), 2U) << what;
        log();
    }
    platform::faults::clear();
    platform::faults::arm({"CreateWindowExW", 1, platform::faults::Action::Fail, 8});
    send(app, WM_APP_NOTE_NEW);
    EXPECT_TRUE(has(log(), "[ERROR] App: New-note create failed for id="));
    EXPECT_EQ(noteRects().size(), 2U);
}
