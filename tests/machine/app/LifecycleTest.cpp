// How open notes follow their files: time limits and unusual names.

#include "machine/support/DisplayFixture.h"

namespace {

class Lifecycle : public DisplayMachine {
  protected:
    void restart() { EXPECT_EQ(start(app), kEnterMessageLoop); }
    // A log line that ends with the path of a file.
    std::string line(const std::string& text, const std::string& file) { return text + utf8(path(file)) + "\r\n"; }
    ~Lifecycle() override {
        platform::clock::useRealTime();
        app.shutdown();
    }
    // What App logs after a file was changed.
    std::string changed(const std::string& file) {
        log();
        tellChanged(app, file);
        return log();
    }
    std::string removed(const std::string& file) {
        log();
        tellRemoved(app, file);
        return log();
    }
    std::string afterMessage(UINT message, WPARAM wParam = 0) {
        log();
        send(app, message, wParam);
        return log();
    }
    // Opens the note, saves it, and advances the clock.
    void openAndSave(const std::string& id, std::int64_t milliseconds = 0) {
        putNote(id);
        restart();
        save(app, id);
        platform::clock::advance(milliseconds);
    }
    static bool isOwn(const std::string& text) { return has(text, "Ignoring own "); }
    App app;
};

}  // namespace

TEST_F(Lifecycle, ownWritesAreIgnoredForThreeSeconds) {
    openAndSave("a", 2999);
    for (int times = 0; times < 2; ++times)
        EXPECT_EQ(changed("a.json"), line("[DEBUG] App: Ignoring own change notification: ", "a.json"));
    EXPECT_EQ(removed("a.json"), line("[DEBUG] App: Ignoring own remove notification: ", "a.json"));
}

TEST_F(Lifecycle, reportsChangesThreeSecondsAfterAnOwnWrite) {
    openAndSave("a", 3000);
    EXPECT_EQ(changed("a.json"),
              line("[DEBUG] App: File added: ", "a.json") + "[DEBUG] App: Note already open, updating: id=a\r\n");
    save(app, "a");
    platform::clock::advance(3000);
    EXPECT_EQ(removed("a.json"), line("[DEBUG] App: File removed: ", "a.json") +
                                     "[INFO ] App: Note closed (file deleted externally): id=a\r\n");
    EXPECT_EQ(noteRects().size(), 0U);
}

TEST_F(Lifecycle, anotherSaveRestartsTheThreeSeconds) {
    openAndSave("a", 2000);
    save(app, "a");
    platform::clock::advance(2000);
    EXPECT_TRUE(isOwn(changed("a.json")));
}

TEST_F(Lifecycle, reportsChangesAfterAFailedSave) {
    openAndSave("a");
    failCall("MoveFileExW", 1, ERROR_ACCESS_DENIED);
    log();
    save(app, "a");
    EXPECT_EQ(log(), "[ERROR] App: saveNote failed: id=a path=" + utf8(path("a.json")) + " (cannot write file)\r\n");
    EXPECT_TRUE(has(changed("a.json"), "File added"));
}

TEST_F(Lifecycle, timerForgetsWritesOlderThanFiveSeconds) {
    putNote("b");
    openAndSave("a", 1);
    save(app, "b");
    platform::clock::advance(2999);  // the timer counts from the start
    platform::desktop::pump();
    const auto isForgotten = [&](const char* file) {
        platform::clock::advance(-2500);  // makes the entry count as recent again, if it still exists
        const bool isKnown = isOwn(removed(file));
        platform::clock::advance(2500);
        return !isKnown;
    };
    platform::clock::advance(2000);  // now the entry of a is exactly 5000 ms old
    platform::desktop::pump();
    EXPECT_FALSE(isForgotten("a.json"));
    send(app, WM_TIMER, 77);  // the timer id does not matter
    EXPECT_FALSE(isForgotten("a.json")) << "exactly 5000 stays";
    platform::clock::advance(1);
    send(app, WM_TIMER, 1);
    EXPECT_TRUE(isForgotten("a.json"));
    EXPECT_FALSE(isForgotten("b.json"));
    platform::clock::advance(5000);
    platform::desktop::pump();  // fires the timer
    EXPECT_TRUE(isForgotten("b.json"));
}

TEST_F(Lifecycle, theFileNameIsTheId) {
    const std::tuple<std::string, std::string, std::string, bool> rows[] = {
        {"plain.json", "plain", "plain", false},    {"other.json", "mine", "other", true},
        {"CASE.json", "case", "case", false},       {"two.dots.json", "two.dots", "two.dots", false},
        {"two.part.json", "two", "two.part", true}, {".json", "hidden", "hidden", false},
        {"CAPS.JSON", "CAPS", "CAPS", false},       {"same1.json", "same", "same1", true},
        {"same2.json", "same", "same2", true},      {"noext", "x", "x", false}};
    restart();
    for (const auto& [file, jsonId, id, warns] : rows) {
        const std::size_t before = noteRects().size();
        const std::string content = "{\"id\":\"" + jsonId + "\"}";
        put(file, content);
        const std::string text = changed(file);
        EXPECT_TRUE(has(text, "Note opened: id=" + id + "\r\n")) << text;
        EXPECT_EQ(has(text, "[WARN ] App: Filename/id mismatch: file=" + file + " jsonId=" + jsonId +
                                "; using filename and rewriting on next save\r\n"),
                  warns)
            << text;
        EXPECT_EQ(noteRects().size(), before + 1);
        EXPECT_EQ(get(file), content) << "not rewritten yet";
    }
}

TEST_F(Lifecycle, saveWritesTheIdOfTheFileName) {
    put("other.json", R"({"id":"mine"})");
    put(".json", R"({"id":"hidden"})");
    restart();
    for (const std::string id : {"other", "hidden"}) {
        save(app, id);
        EXPECT_TRUE(has(get(id + ".json"), "\"id\": \"" + id + "\"")) << get(id + ".json");
    }
    EXPECT_FALSE(fs::exists(notes() / "mine.json"));
}

TEST_F(Lifecycle, idThatLeadsOutOfTheFolderIsRefused) {
    std::ofstream(folder() / "victim.json") << "precious";
    put(".json", R"({"id":"..\\victim","editable":true})");
    restart();
    EXPECT_TRUE(has(log(), "[WARN ] App: Failed to load note after 3 retries: " + utf8(path(".json")) +
                               " (invalid note structure)\r\n"));
    EXPECT_EQ(noteRects().size(), 0U);
    for (const UINT message : {WM_APP_NOTE_CHANGED, WM_APP_NOTE_DISMISS}) {  // a key press, the close button
        sendText(app, message, TEXT("..\\victim"));
        EXPECT_EQ(contentOf(folder() / "victim.json"), "precious");
    }
}

TEST_F(Lifecycle, removalMatchesTheIdByExactCase) {
    put("CASE.json", "{\"id\":\"case\"}");
    putNote("a");
    restart();
    EXPECT_FALSE(has(removed("CASE.json"), "Note closed")) << "the note's id is spelled otherwise";
    EXPECT_TRUE(has(removed("case.json"), "Note closed (file deleted externally): id=case\r\n"));
    for (const char* file : {".json", "unknown.json"})
        EXPECT_EQ(removed(file), line("[DEBUG] App: File removed: ", file));
    EXPECT_EQ(noteRects().size(), 1U);
}

TEST_F(Lifecycle, unreadableFileIsTriedThreeTimes) {
    putNote("a", ",\"title\":\"before\"");
    restart();
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"bad.json", "{", "JSON parse error at line 1 col 2: expected string"},
        {"array.json", "[]", "invalid note structure"},
        {"gone.json", nullptr, "cannot read file"},
        {".json", "{\"id\":\"a:b\"}", "invalid note structure"},
        {"a.json", "{\"id\":\"\"}", "invalid note structure"}};
    for (const auto& [name, content, why] : rows) {
        if (content != nullptr) put(name, content);
        const std::int64_t start = platform::clock::now();
        EXPECT_EQ(changed(name), line("[DEBUG] App: File added: ", name) +
                                     "[WARN ] App: Failed to load note after 3 retries: " + utf8(path(name)) + " (" +
                                     why + ")\r\n");
        EXPECT_EQ(platform::clock::now() - start, 15 + 15) << "a pause behind the first try and behind the second";
    }
    EXPECT_EQ(noteRects().size(), 1U) << "an open note stays as it is";
    save(app, "a");
    EXPECT_TRUE(has(get("a.json"), "\"title\": \"before\""));
}

TEST_F(Lifecycle, fileThatIsReadableAtTheSecondTryIsLoaded) {
    restart();
    putNote("late");
    failCall("ReadFile", 1, ERROR_LOCK_VIOLATION);
    EXPECT_TRUE(has(changed("late.json"), "Note opened: id=late"));
}

TEST_F(Lifecycle, wakeUpScansTheFolderAgain) {
    putNote("gone");
    openAndSave("a");
    putNote("b");
    fs::create_directories(notes() / "folder.json");
    fs::remove(notes() / "gone.json");
    const std::string text = afterMessage(RegisterWindowMessageW(TEXT("Vellumd.WakeUp")));
    EXPECT_TRUE(has(text, "Note already open, updating: id=a\r\n")) << "own writes count too";
    EXPECT_TRUE(has(text, "Note opened: id=b\r\n"));
    EXPECT_TRUE(has(text, "[DEBUG] App: Initial scan: 2 file(s)\r\n"));
    EXPECT_EQ(noteRects().size(), 3U) << "a note whose file is gone stays open";
}

TEST_F(Lifecycle, endOfTheSessionSavesNotesInOpeningOrder) {
    restart();
    for (const char* id : {"c", "a", "b"}) {
        putNote(id);
        tellChanged(app, std::string(id) + ".json");
    }
    tellRemoved(app, "a.json");
    tellChanged(app, "a.json");  // reopened, so it is now the last one
    EXPECT_EQ(afterMessage(WM_ENDSESSION, FALSE), "");
    EXPECT_EQ(afterMessage(WM_ENDSESSION, TRUE),
              "[DEBUG] App: Saved note id=c\r\n[DEBUG] App: Saved note id=b\r\n[DEBUG] App: Saved note id=a\r\n");
    EXPECT_TRUE(has(get("c.json"), "\"position\"")) << "with the place where it was shown";
}

TEST_F(Lifecycle, endOfTheSessionSavesEachPendingEditOnce) {
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

TEST_F(Lifecycle, endOfTheSessionSavesWhatIsNotInTheFilesYet) {
    for (const char* id : {"failed", "replaced", "saved"})
        putNote(id);
    restart();
    for (const char* id : {"failed", "replaced"}) {
        failCall("MoveFileExW", 1, ERROR_ACCESS_DENIED);
        save(app, id);
    }
    save(app, "saved");
    tellChanged(app, "replaced.json");  // the record is read from the file again
    log();
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(log(), "[DEBUG] App: Saved note id=failed\r\n");
    SendMessageW(firstNote(), WM_ENTERSIZEMOVE, 0, 0);
    SendMessageW(firstNote(), WM_EXITSIZEMOVE, 0, 0);  // its posted message comes after the sent one
    SendMessageW(firstNote(), WM_ENDSESSION, TRUE, 0);
    EXPECT_TRUE(has(log(), "Saved note id="));
}

TEST_F(Lifecycle, notesOutsideAllMonitorsMoveToThePrimary) {
    platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true},
                                    {u"\\\\.\\DISPLAY2", {1920, 0, 3840, 1080}, {1920, 0, 3840, 1080}, 96, false}});
    putNote("far", R"(,"position":{"x":2000,"y":100,"width":300,"height":200})");
    putNote("near", R"(,"position":{"x":1900,"y":600,"width":300,"height":200})");
    restart();
    platform::desktop::setMonitors({{u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1921, 1041}, 96, true}});
    const HWND far = FindWindowExW(nullptr, firstNote(), TEXT("Vellumd.NoteWindow"), nullptr);
    for (const UINT message : {WM_SETTINGCHANGE, WM_DISPLAYCHANGE}) {
        SetWindowPos(far, nullptr, 2000, 100, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
        EXPECT_EQ(afterMessage(message), "[DEBUG] App: Saved note id=far\r\n");
        EXPECT_EQ(places(), "810,420-1110,620 1900,600-2200,800");
        EXPECT_EQ(platform::desktop::activeWindow(), nullptr) << "the user's own window stays the active one";
        EXPECT_TRUE(has(get("far.json"), "\"x\": 2000")) << "the stored place follows with the window's own saves only";
        EXPECT_EQ(afterMessage(message), "") << "nothing is left to rescue";
    }
}

TEST_F(Lifecycle, messagesForClosedNotesDoNothing) {
    restart();
    log();
    for (const UINT message : {WM_APP_NOTE_MOVED, WM_APP_NOTE_CHANGED, WM_APP_NOTE_DISMISS})
        sendText(app, message, TEXT("nobody"));
    for (UINT message = WM_APP_FILE_ADDED; message <= WM_APP_NOTE_CHANGED; ++message)
        send(app, message);  // without a text
    EXPECT_EQ(log(), "");
}

TEST_F(Lifecycle, dismissingANoteDeletesItsFile) {
    putNote("a");
    putNote("b");
    restart();
    log();
    sendText(app, WM_APP_NOTE_DISMISS, TEXT("a"));
    EXPECT_EQ(log(), "[INFO ] App: Note dismissed by user: id=a\r\n");
    EXPECT_FALSE(fs::exists(notes() / "a.json"));
    failCall("DeleteFileW", 1, ERROR_SHARING_VIOLATION);
    sendText(app, WM_APP_NOTE_DISMISS, TEXT("b"));
    EXPECT_EQ(log(), "[WARN ] App: deleteFile failed for " + utf8(path("b.json")) + " (err=32)\r\n");
    EXPECT_EQ(noteRects().size(), 0U) << "gone from the screen in either case";
    EXPECT_TRUE(fs::exists(notes() / "b.json"));
}

TEST_F(Lifecycle, newNoteIsSavedAtOnce) {
    restart();
    const std::string text = afterMessage(WM_APP_NOTE_NEW);
    ASSERT_TRUE(has(text, "[INFO ] App: New note created: id="));
    const std::string id = text.substr(text.find("id=") + 3, 36), file = get(id + ".json");
    EXPECT_TRUE(has(text, "[DEBUG] App: Saved note id=" + id + "\r\n"));
    for (const char* part :
         {R"("editable": true)", R"("author": "operator")", R"("device": "\\\\.\\DISPLAY1")", R"("x": 1648)"})
        EXPECT_TRUE(has(file, part)) << part << file;
    EXPECT_TRUE(isOwn(changed(id + ".json")));
}

TEST_F(Lifecycle, failedNewNoteIsLogged) {
    restart();
    failCall("CoCreateGuid", 0, ERROR_ACCESS_DENIED);
    for (const char* what : {"one note without an id", "the next takes its place"}) {
        EXPECT_EQ(afterMessage(WM_APP_NOTE_NEW), "[INFO ] App: New note created: id=\r\n") << "and no file";
        tellRemoved(app, ".json");
        EXPECT_EQ(noteRects().size(), 1U) << what;
    }
    platform::faults::clear();
    failCall("CreateWindowExW", 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_TRUE(has(afterMessage(WM_APP_NOTE_NEW), "[ERROR] App: New-note create failed for id="));
    EXPECT_EQ(noteRects().size(), 1U);
}
