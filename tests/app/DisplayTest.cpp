// The display role as a process: files come and go, windows follow, and the log records each step.
#include "support/Display.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "common/Identity.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

std::string note(const std::string& id, const std::string& more = "") {
    return "{\"id\":\"" + id + "\",\"title\":\"t\"" + more + "}";
}

// Every test has its own instance name, so that tests can run in parallel.
class Display : public testing::Test {
  protected:
    WideString arguments(const WideString& more = {}) const {
        return TEXT("--no-autostart --log-level debug -i ") + instance + TEXT(" --folder \"") + parent.path() +
               TEXT("\" ") + more;
    }
    Environment environment() const { return {{"PROGRAMDATA", utf8(programData.path())}}; }
    WideString file(const std::string& name) const { return parent / (instance + TEXT("\\") + wide(name)); }
    void put(const std::string& id, const std::string& more = "") const {
        std::filesystem::create_directories(hostPath(parent / instance));
        writeFile(file(id + ".json"), note(id, more));
    }
    // Starts a display that shows `count` notes.
    std::unique_ptr<DisplayProcess> start(std::size_t count) const {
        auto display = std::make_unique<DisplayProcess>(arguments(), environment());
        EXPECT_TRUE(eventually([&] { return display->notes().size() == count && logged("Started; "); })) << log();
        return display;
    }
    std::string log() const { return readAllFiles(programData.path()); }
    bool logged(const std::string& text) const { return has(log(), text); }
    int linesWith(const std::string& text) const {
        std::istringstream lines(log());
        int count = 0;
        for (std::string line; std::getline(lines, line);)
            count += has(line, text);
        return count;
    }
    bool comesIntoLog(const std::string& text) const {
        return eventually([&] { return logged(text); });
    }
    // Retries like a writer does, since the process may be reading the file.
    bool isRenamed(const std::string& from, const std::string& to) const {
        return succeeds(
            [&](std::error_code& error) { std::filesystem::rename(hostPath(file(from)), hostPath(file(to)), error); });
    }
    bool isRemoved(const std::string& name) const {
        return succeeds([&](std::error_code& error) { std::filesystem::remove(hostPath(file(name)), error); });
    }
    template <typename Change>
    static bool succeeds(Change change) {
        return eventually([&] {
            std::error_code error;
            change(error);
            return !error;
        });
    }
    // Waits for that many saves of the note. It watches the log: reading the file meanwhile could make a save fail.
    std::string fileAfterSave(int count) const {
        EXPECT_TRUE(eventually([&] { return linesWith("Saved note id=n") == count; })) << log();
        return readFile(file("n.json"));
    }
    // Writes the file again and again until the process notices it. The watcher reports changes only after its first
    // read has started.
    template <typename Condition>
    bool isNoticed(const WideString& path, const std::string& text, Condition noticed) const {
        return eventually([&] {
            writeFile(path, text);
            return eventually(noticed, std::chrono::milliseconds(300));
        });
    }

    // The index of the first log line that contains the text; -1 if there is none.
    int lineOf(const std::string& text) const {
        const std::string all = log();
        const std::size_t at = all.find(text);
        return at == std::string::npos
                   ? -1
                   : static_cast<int>(std::count(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
    }

    const WideString instance = newGuidText();
    const TempFolder programData, parent;
};

const char* const kEditable =
    ",\"editable\":true,\"allowNewNote\":true,\"modified\":\"2020-01-01T00:00:00Z\","
    "\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":200}";

std::vector<LONG> placeOf(const ShownWindow& window) {
    return {window.rect.left, window.rect.top, window.rect.right - window.rect.left,
            window.rect.bottom - window.rect.top};
}

}  // namespace

TEST_F(Display, startsStepByStepAndEndsWhenItsMessageWindowIsClosed) {
    put("first");
    writeFile(file("bad.json"), "{\"id\":");
    const auto display = start(1);
    ASSERT_TRUE(comesIntoLog("Worker started on"));
    int last = -1;
    for (const char* step : {"[INFO ] App: Vellumd starting; pid=", "[INFO ] App: Notes folder: ",
                             "[INFO ] App: Auto-start skipped (--no-autostart)", "[DEBUG] App: Initial scan: 2 file(s)",
                             "[INFO ] App: Started; 1 note(s) loaded"}) {
        EXPECT_GT(lineOf(step), last) << step << "\n" << log();
        last = lineOf(step);
    }
    EXPECT_TRUE(logged("[INFO ] App: Note opened: id=first"));
    EXPECT_TRUE(logged("[WARN ] App: Failed to load note after 3 retries: ")) << log();
    EXPECT_EQ(display->end(), 0);
    EXPECT_LT(lineOf("App: Shutting down"), lineOf("Watcher: Worker stopped"));
    EXPECT_EQ(readFile(file("first.json")), note("first")) << "a note that nobody changed is not written";
}

TEST_F(Display, windowsAreTopmostToolWindowsAndNeverTakeTheFocus) {
    for (const char* id : {"placed", "covered"})
        put(id, ",\"position\":{\"x\":30,\"y\":40,\"width\":300,\"height\":200}");
    const auto display = start(2);
    std::vector<std::vector<LONG>> places;
    for (const ShownWindow& window : display->notes()) {
        EXPECT_TRUE(window.isVisible && !window.isActive);
        EXPECT_EQ(window.style & 0xC2000000U, 0x82000000U);
        EXPECT_EQ(window.exStyle & 0x88U, 0x88U);
        places.push_back(placeOf(window));
    }
    std::sort(places.begin(), places.end());
    EXPECT_EQ(places[0], (std::vector<LONG>{30, 40, 300, 200}));
    EXPECT_EQ(places[1], (std::vector<LONG>{30 + 24 * 9, 40 + 24 * 9, 300, 200})) << "beside the first";
}

TEST_F(Display, windowsFollowTheFiles) {
    const auto display = start(0);
    ASSERT_TRUE(comesIntoLog("Worker started on"));
    const auto shows = [&](std::size_t count) { return eventually([&] { return display->notes().size() == count; }); };
    EXPECT_TRUE(isNoticed(file("a.json"), note("a"), [&] { return display->notes().size() == 1; }));
    EXPECT_TRUE(shows(1)) << "written in place\n" << log();
    writeFile(file("b.tmp"), note("b"));
    EXPECT_TRUE(isRenamed("b.tmp", "b.json"));
    EXPECT_TRUE(shows(2)) << "renamed into place\n" << log();
    EXPECT_TRUE(isRenamed("b.json", "c.json"));
    EXPECT_TRUE(comesIntoLog("Note closed (file deleted externally): id=b")) << log();
    EXPECT_TRUE(comesIntoLog("Note opened: id=c")) << log();
    EXPECT_TRUE(logged("Filename/id mismatch: file=c.json jsonId=b; using filename and rewriting on next save"));
    writeFile(file("a.json"), note("a", ",\"content\":\"changed\""));
    EXPECT_TRUE(comesIntoLog("Note already open, updating: id=a")) << log();
    writeFile(file("n.tmp"), note("a"));
    EXPECT_TRUE(isRenamed("n.tmp", "a.json"));
    EXPECT_TRUE(shows(2)) << "replaced while open\n" << log();
    EXPECT_TRUE(isRemoved("a.json"));
    EXPECT_TRUE(shows(1)) << "deleted\n" << log();
    for (const ShownWindow& window : display->notes())
        EXPECT_FALSE(window.isActive);
}

TEST_F(Display, secondProcessExitsWhenItFindsTheFirst) {
    const auto display = start(0);
    const ProcessResult second = runVellumd(arguments(), environment());
    EXPECT_TRUE(second.finished);
    EXPECT_EQ(second.exitCode, 0U);
    EXPECT_TRUE(has(second.debugOutput, "App: Another instance is running (mutex=Local\\Vellumd.SingleInstance.v1." +
                                            utf8(instance) + "); sending wake-up and exiting\r\n"))
        << second.debugOutput;
    EXPECT_FALSE(has(second.debugOutput, "Auto-start"));
    EXPECT_EQ(display->end(), 0) << "the first goes on until it is ended";
}

TEST_F(Display, instanceHasItsOwnFolderAndMutex) {
    const WideString other = instance + TEXT("/ab"), folder = parent / (instance + TEXT("_ab"));
    const auto first = start(0);
    DisplayProcess second(arguments(TEXT("-i ") + other), environment());
    ASSERT_TRUE(eventually([&] { return exists(folder); })) << log();
    EXPECT_TRUE(isNoticed(folder + TEXT("\\n.json"), note("n"), [&] { return second.notes().size() == 1; }));
    EXPECT_EQ(first->notes().size(), 0U);
    const ProcessResult third = runVellumd(arguments(TEXT("-i ") + other), environment());
    EXPECT_TRUE(has(third.debugOutput, "SingleInstance.v1." + utf8(instance) + "_ab)")) << third.debugOutput;
}

TEST_F(Display, userEditsMovesAndSizesANote) {
    put("n", kEditable);
    const auto display = start(1);
    display->typeIntoBody("hello");
    std::string saved = fileAfterSave(1);
    EXPECT_TRUE(has(saved, "\"content\": \"hello\"") && !has(saved, "2020-01-01")) << saved << "modified moves";
    display->drag(308, 113, 408, 163);  // the free part of the title bar, between title and buttons
    saved = fileAfterSave(2);
    EXPECT_TRUE(has(saved, "\"x\": 200,") && has(saved, "\"y\": 150,")) << saved;
    EXPECT_TRUE(eventually([&] { return placeOf(display->notes().at(0)) == std::vector<LONG>{200, 150, 260, 200}; }));
    display->drag(458, 348, 498, 378);  // the bottom right corner
    saved = fileAfterSave(3);
    EXPECT_TRUE(has(saved, "\"width\": 300,") && has(saved, "\"height\": 230")) << saved;
}

TEST_F(Display, userCreatesANoteAndDeletesAnother) {
    put("n", kEditable);
    const auto display = start(1);
    display->click(100 + 260 - 35, 113);  // the "new note" button
    EXPECT_TRUE(eventually([&] { return display->notes().size() == 2; })) << log();
    display->click(100 + 260 - 15, 113);  // the close button
    EXPECT_TRUE(eventually([&] { return !exists(file("n.json")) && display->notes().size() == 1; })) << log();
    EXPECT_EQ(display->end(), 0);
}

TEST_F(Display, readerNeverSeesAPartlyWrittenNote) {
    put("n", ",\"editable\":true");
    const auto display = start(1);
    const auto isWhole = [](const std::string& text) { return text.starts_with('{') && text.ends_with('}'); };
    // Wine refuses to replace a file that a reader has open. Such a save fails, so check the next one.
    for (int round = 1; round <= 20 && linesWith("Saved note id=n") < 2; ++round) {
        display->typeIntoBody("abc");
        EXPECT_TRUE(eventually([&] {
            const std::string text = readFile(file("n.json"));
            EXPECT_TRUE(text.empty() || isWhole(text)) << text;  // empty: the file could not be opened
            return linesWith("Saved note id=n") + linesWith("saveNote failed: id=n") == round || HasFailure();
        })) << log();
    }
    EXPECT_EQ(linesWith("Saved note id=n"), 2) << log();
}

TEST_F(Display, endOfTheSessionSavesAPendingEdit) {
    put("n", ",\"editable\":true");
    const auto display = start(1);
    display->typeIntoBody("abc");
    display->endSession();
    EXPECT_TRUE(has(readFile(file("n.json")), "\"content\": \"abc\"")) << log();
}

TEST_F(Display, installerThatClosesTheProgramKeepsEveryNote) {
    constexpr int kNotes = 10;
    for (int n = 0; n < kNotes; ++n)
        put("n" + std::to_string(n), ",\"editable\":true");
    const auto display = start(kNotes);
    display->typeIntoBody("abc");
    display->closeForInstaller();
    EXPECT_EQ(display->ends(), 0) << log();
    int files = 0, edited = 0;
    for (int n = 0; n < kNotes; ++n) {
        const std::string text = readFile(file("n" + std::to_string(n) + ".json"));
        files += !text.empty();
        edited += has(text, "\"content\": \"abc\"");
    }
    EXPECT_EQ(files, kNotes) << log();
    EXPECT_EQ(edited, 1) << log();
    EXPECT_TRUE(logged("App: Shutting down") && !logged("dismissed")) << log();
}
