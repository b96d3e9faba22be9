// vellumctl as a process: what its commands do to the files, what they print, and what a running display shows of it.
#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "common/Identity.h"
#include "notes/NoteRecord.h"
#include "notes/Text.h"
#include "support/Display.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

class Ctl : public testing::Test {
  protected:
    ConsoleResult run(const char* arguments, const std::string& input = {}) const {
        return runVellumctl(
            utf8ToWide(arguments) + TEXT(" -i ") + instance + TEXT(" --folder \"") + parent.path() + TEXT("\""), input);
    }
    // Runs a command that must succeed; returns what it prints.
    std::string output(const char* arguments, const std::string& input = {}) const {
        const ConsoleResult result = run(arguments, input);
        EXPECT_EQ(result.exitCode, 0U) << arguments << "\n" << result.errors;
        EXPECT_EQ(result.errors, "");
        return result.output;
    }
    WideString folder() const { return parent / instance; }
    WideString file(const std::string& id) const { return folder() + TEXT("\\") + wide(id) + TEXT(".json"); }
    NoteRecord note(const std::string& id) const {
        NoteRecord record;
        EXPECT_TRUE(loadNoteFile(file(id), record, nullptr)) << id;
        return record;
    }
    void put(const std::string& id, const std::string& more) const {
        std::filesystem::create_directories(hostPath(folder()));
        writeFile(file(id), "{\"id\":\"" + id + "\"" + more + "}");
    }
    std::size_t fileCount() const {
        std::size_t count = 0;
        std::error_code error;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(hostPath(folder()), error))
            ++count;
        return count;
    }

    const WideString instance = newGuidText();
    const TempFolder parent;
};

// With a display process that shows the folder.
class CtlOnScreen : public Ctl {
  protected:
    void start(std::size_t count) {
        const WideString arguments =
            TEXT("--no-autostart --log-level debug -i ") + instance + TEXT(" --folder \"") + parent.path() + TEXT("\"");
        display = std::make_unique<DisplayProcess>(arguments, Environment{{"PROGRAMDATA", utf8(programData.path())}});
        EXPECT_TRUE(shows(count) && logs("Worker started on"));
    }
    bool shows(std::size_t count) const {
        return eventually([&] { return display->notes().size() == count; });
    }
    bool logs(const std::string& text) const {
        return eventually([&] { return has(readAllFiles(programData.path()), text); });
    }
    int linesWith(const std::string& text) const {
        std::istringstream lines(readAllFiles(programData.path()));
        int count = 0;
        for (std::string line; std::getline(lines, line);)
            count += has(line, text);
        return count;
    }
    // Whether the display loads the note `count` times. The replacement of a file can close and open its window.
    bool isLoaded(int count) const {
        return eventually(
            [&] { return linesWith("Note opened: id=n") + linesWith("Note already open, updating: id=n") >= count; });
    }
    // Watches the log: reading the file meanwhile could make the save fail.
    void typeAndSave(const std::string& text) const {
        const int before = linesWith("Saved note id=n");
        display->typeIntoBody(text);
        EXPECT_TRUE(eventually([&] { return linesWith("Saved note id=n") > before; }));
    }
    void close() const {
        const RECT place = display->notes().at(0).rect;
        display->click(place.right - 15, place.top + 13);
        EXPECT_TRUE(shows(0));
    }

    const TempFolder programData;
    std::unique_ptr<DisplayProcess> display;
};

constexpr const char* kEditable = ",\"editable\":true,\"position\":{\"x\":100,\"y\":100,\"width\":260,\"height\":200}";

constexpr const char* kDated = ",\"title\":\"two\\nlines\",\"content\":\"body\",\"modified\":\"2026-03-14T09:26:53Z\"";

}  // namespace

TEST_F(Ctl, postWritesANoteAndPrintsItsId) {
    const std::string id = output("post --title \"T\u00e4gli\u0107h\" --text - --color #abc --author me --editable",
                                  "\xEF\xBB\xBF"
                                  "first\r\nsecond \xF0\x9F\x98\x80\r\n");
    ASSERT_EQ(id.size(), 37U);
    const NoteRecord record = note(id.substr(0, 36));
    EXPECT_EQ(utf8(record.title), "T\u00e4gli\u0107h");
    EXPECT_EQ(utf8(record.content), "first\nsecond \U0001F600");
    EXPECT_EQ(utf8(record.author), "me");
    EXPECT_EQ(record.bgColor, COLORREF{0xCCBBAA});
    EXPECT_TRUE(record.editable && !record.allowNewNote && !record.hasPosition);
    EXPECT_TRUE(readFile(file(id.substr(0, 36))).ends_with("}\n")) << "other than Vellumd's own files";
    EXPECT_EQ(fileCount(), 1U) << "no temporary file stays";
}

TEST_F(Ctl, postKeepsWhatItIsNotGiven) {
    put("n",
        ",\"title\":\"old\",\"content\":\"old\",\"contentRtf\":\"{\\\\rtf1 old}\",\"created\":\"2020-01-01T00:00:00Z\","
        "\"editable\":true,\"position\":{\"x\":7,\"y\":-8,\"width\":300,\"height\":200}");
    EXPECT_EQ(output("post --id n --text new"), "n\n");
    NoteRecord record = note("n");
    EXPECT_EQ(utf8(record.title) + utf8(record.content), "oldnew");
    EXPECT_EQ(utf8(record.contentRtf), "") << "it would hide the new text";
    EXPECT_EQ(record.created.wYear, 2020);
    EXPECT_GT(record.modified.wYear, 2020);
    EXPECT_TRUE(record.editable && record.x == 7 && record.y == -8 && record.width == 300 && record.height == 200);
    output("post --id n --read-only --new-note --at -5,6 --size 400,300");
    record = note("n");
    EXPECT_EQ(utf8(record.content), "new");
    EXPECT_TRUE(!record.editable && record.allowNewNote && record.x == -5 && record.y == 6 && record.width == 400);
}

TEST_F(Ctl, postTakesRichTextAndAnImageFromFiles) {
    writeFile(parent / TEXT("a.rtf"), "{\\rtf1 a}");
    writeFile(parent / TEXT("a.gif"), "GIF89a?");
    const std::string files = utf8(parent.path());
    output(("post --id n --rtf \"" + files + "\\a.rtf\" --logo \"" + files + "\\a.gif\"").c_str());
    EXPECT_EQ(utf8(note("n").contentRtf), "{\\rtf1 a}");
    EXPECT_EQ(utf8(note("n").logo), "R0lGODlhPw==");
}

TEST_F(Ctl, postNamesAFileThatItCannotUse) {
    writeFile(parent / TEXT("a.rtf"), "{\\rtf1 a}");
    const std::string files = utf8(parent.path());
    for (const char* wrong : {"--rtf", "--logo"}) {
        const ConsoleResult result = run((std::string("post --id m ") + wrong + " \"" + files + "\\none\"").c_str());
        EXPECT_EQ(result.exitCode, 3U) << wrong;
        EXPECT_TRUE(has(result.errors, "none: not found (Windows error 2)")) << result.errors;
    }
    EXPECT_EQ(run(("post --id m --logo \"" + files + "\\a.rtf\"").c_str()).exitCode, 2U) << "not an image";
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(Ctl, wrongCommandLineGetsOneLineAndWritesNothing) {
    const std::pair<const char*, const char*> cases[] = {
        {"post --color yellow", "--color: 'yellow' is not a colour: write #RRGGBB or #RGB"},
        {"post --at 5", "--at: '5' is not a place: write X,Y"},
        {"post --at 5,6x", "--at: '5,6x' is not a place"},
        {"post --size 119,200", "--size: '119,200' is not a size: write W,H"},
        {"post --size 200,200", "--size: the note has no place yet, so give --at as well"},
        {"post --id a/b", "'a/b' cannot be an id"},
        {"post --id nul", "'nul' cannot be an id"},
        {"post --id \"\"", "'' cannot be an id"},
        {"post --colour #fff", "--colour"},
        {"post --user ann", "excludes"},
        {"remove", "ID is required"},
        {"wait a --timeout x", "--timeout"},
    };
    for (const auto& [arguments, wanted] : cases) {
        const ConsoleResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2U) << arguments;
        EXPECT_TRUE(result.errors.starts_with("vellumctl: ") && has(result.errors, wanted)) << result.errors;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_EQ(result.output, "");
    }
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(Ctl, listNamesEachNoteAndEachFileThatIsNone) {
    EXPECT_EQ(output("list"), "") << "no folder yet";
    put("b", kDated);
    put("a", ",\"content\":3");
    writeFile(file("bad"), "{");
    const ConsoleResult list = run("list");
    EXPECT_EQ(list.exitCode, 0U);
    EXPECT_TRUE(list.output.starts_with("a\t") && has(list.output, "\nb\t2026-03-14T09:26:53Z\ttwo lines\tbody\n"))
        << list.output;
    EXPECT_TRUE(has(list.errors, "bad.json is not a note: JSON parse error at line 1 col 2")) << list.errors;
}

TEST_F(Ctl, listAsJsonHasWholeNotes) {
    put("b", kDated);
    JsonValue items;
    ASSERT_TRUE(parseJsonUtf8(run("list --json").output, items, nullptr));
    EXPECT_EQ(utf8(items.at(0).find(TEXT("title")).asString()), "two\nlines");
    EXPECT_FALSE(items.at(0).contains(TEXT("position"))) << "the file has none";
}

TEST_F(Ctl, showPrintsTheTextAndRefusesWhatIsNoNote) {
    put("b", kDated);
    writeFile(file("bad"), "{");
    EXPECT_TRUE(has(output("show b"), "modified: 2026-03-14T09:26:53Z\neditable: no\n\nbody\n"));
    EXPECT_EQ(run("show bad").exitCode, 1U);
    EXPECT_EQ(run("show none").errors, "vellumctl: no note none\n");
}

TEST_F(Ctl, removeNamesWhatIsNotThere) {
    put("a", "");
    put("b", "");
    const ConsoleResult result = run("remove a none b");
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.errors, "vellumctl: no note none\n");
    EXPECT_EQ(fileCount(), 0U);
}

TEST_F(Ctl, postsOfManyProcessesAreWhole) {
    std::vector<std::thread> posters;
    for (int poster = 0; poster < 4; ++poster)
        posters.emplace_back([this, poster] {
            for (int n = 0; n < 3; ++n) {
                EXPECT_EQ(run(("post --text " + std::string(2000, static_cast<char>('a' + poster))).c_str()).exitCode,
                          0U);
                EXPECT_EQ(run(("post --no-wait --id same --title " + std::to_string(poster) + " --text " +
                               std::to_string(poster))
                                  .c_str())
                              .exitCode,
                          0U);
            }
        });
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_EQ(fileCount(), 4U * 3 + 1);
    EXPECT_EQ(note("same").title, note("same").content) << "from one command";
    EXPECT_EQ(run("list").errors, "");
}

TEST_F(CtlOnScreen, postAndRemoveAreSeen) {
    start(0);
    output("post --id n --text one");
    EXPECT_TRUE(shows(1));
    output("post --id n --text two");
    EXPECT_TRUE(isLoaded(2));
    output("remove n");
    EXPECT_TRUE(shows(0));
}

TEST_F(CtlOnScreen, postAndRemoveAreSeenRightAfterASave) {
    put("n", kEditable);
    start(1);
    typeAndSave("abc");
    output("post --id n --title new --text posted");
    EXPECT_TRUE(isLoaded(2));
    typeAndSave("def");
    EXPECT_TRUE(note("n").title == TEXT("new")) << "the display had the new title";
    output("remove n");
    EXPECT_TRUE(shows(0));
    EXPECT_FALSE(exists(file("n")));
}

TEST_F(CtlOnScreen, noteThatIsPostedAgainRightAfterTheUserClosedItIsSeen) {
    put("n", kEditable);
    start(1);
    typeAndSave("abc");
    close();
    output("post --id n --text again");
    EXPECT_TRUE(shows(1));
}

TEST_F(CtlOnScreen, waitEndsWhenTheUserHasEditedTheNote) {
    put("n", kEditable);
    start(1);
    ConsoleResult result;
    std::atomic<bool> hasEnded = false;
    std::thread waiting([&] {
        result = run("wait n");
        hasEnded = true;
    });
    std::string typed;
    while (!hasEnded && typed.size() < 100) {  // an edit before its first look is not one that it waits for
        display->typeIntoBody("a");
        typed += 'a';
        eventually([&] { return hasEnded.load(); }, std::chrono::milliseconds(1500));
    }
    waiting.join();
    EXPECT_EQ(result.exitCode, 0U) << result.errors;
    EXPECT_TRUE(result.output.size() > 1 && result.output.find_first_not_of('a') == result.output.size() - 1)
        << result.output;
}

TEST_F(CtlOnScreen, waitEndsWhenTheNoteIsGone) {
    put("n", kEditable);
    start(1);
    ConsoleResult result;
    for (int tries = 0; result.exitCode != 4U && tries < 10; ++tries) {  // it may start too late to see the note
        put("n", kEditable);
        ASSERT_TRUE(shows(1));
        std::thread waiting([&] { result = run("wait n"); });
        Sleep(500);
        close();
        waiting.join();
        EXPECT_TRUE(result.exitCode == 4U || result.errors == "vellumctl: no note n\n") << result.errors;
    }
    EXPECT_EQ(result.exitCode, 4U);
    EXPECT_EQ(result.output, "");
}

TEST_F(Ctl, waitTakesNoPostForAnEdit) {
    put("n", kEditable);
    ConsoleResult result;
    std::thread waiting([&] { result = run("wait n --timeout 2"); });
    for (const char* text : {"one", "two", "three"}) {
        Sleep(600);
        output((std::string("post --id n --text ") + text).c_str());
    }
    waiting.join();
    EXPECT_EQ(result.exitCode, 5U);
    EXPECT_EQ(result.output, "");
}
