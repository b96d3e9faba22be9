// The display of a private queue. Most cases run it as a process.

#include "app/App.h"
#include "app/ExitCode.h"
#include "common/Messages.h"
#include "machine/support/RoleProcess.h"
#include "machine/support/StoreFixture.h"
#include "testing/Desktop.h"

using namespace AppletNotes;
using namespace platform;

class AppletDisplayMachine : public StoreMachine {
  protected:
    AppletDisplayMachine() {
        makeStore();
        queue_ = makeQueue(name_);
    }
    ~AppletDisplayMachine() override { app_.shutdown(); }

    void putNote(const std::string& id, const std::string& more = "") const {
        StoreMachine::putNote(queue_, id + ".json",
                              "{\"id\":\"" + id + "\",\"editable\":true,\"content\":\"text\"" + more + "}");
    }
    std::vector<std::string> arguments() const { return {"--applet-queue", "-i", name_, "--log-level", "debug"}; }
    bool isThere(const std::string& id) const { return fs::exists(queue_ / (id + ".json")); }
    // Copies the program to the place where the writer installs it.
    fs::path stage() const {
        const fs::path folder = root() / "runtime" / std::string(64, 'a');
        fs::create_directories(folder);
        fs::copy_file(RoleProcess::builtProgram(), folder / "Vellumd.exe");
        return folder / "Vellumd.exe";
    }
    fs::path runValue(const std::string& name = "OmbrelAppletNotes") const {
        return folder() / "registry/HKEY_USERS/operator/Software/Microsoft/Windows/CurrentVersion/Run" /
               (name + ".REG_SZ");
    }
    void setRunValue(const fs::path& image) const {
        fs::create_directories(runValue().parent_path());
        std::ofstream(runValue()) << "\"" << utf8(productPath(image)) << "\" --applet-recover";
    }
    bool hasRunValue() const { return fs::exists(runValue()); }

    // Starts a display of one note in the test's own process.
    void startInProcess() {
        putNote("note_a");
        desktop::setMonitors(machine().monitors);
        setCommandLine({"Vellumd", "--applet-queue", "-i", name_});
        ASSERT_EQ(app_.initialize(nullptr, WideString()), kEnterMessageLoop) << log();
        EXPECT_TRUE(eventually([] { return has(log(), "Worker started"); }));
    }
    std::string told(UINT message, const WCHAR* text = TEXT("note_a")) {
        log();
        EXPECT_TRUE(postText(app_.messageWindow(), message, text));
        desktop::pump();
        return log();
    }
    static HWND firstNote() { return FindWindowExW(nullptr, nullptr, TEXT("Vellumd.NoteWindow"), nullptr); }

    const std::string name_ = ownQueue();
    fs::path queue_;
    App app_;
};

TEST_F(AppletDisplayMachine, showsTheReadableNotesOfItsQueue) {
    putNote("note_a");
    putPrivateFile(queue_ / "note_c.json", "{");
    putNote("note_d");
    chmod((queue_ / "note_d.json").c_str(), 0640);
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(1)) << display.said();
    EXPECT_TRUE(display.says("note_c.json (JSON parse error at line 1 col 2: expected string)"));
    EXPECT_TRUE(display.says("note_d.json (private note read failed; Windows error 5)"));
    EXPECT_FALSE(fs::exists(folder() / "drive_c/ProgramData/OmbrelService_Common")) << "the role writes no log file";
    EXPECT_FALSE(fs::exists(runValue("Vellumd"))) << "nor an auto-start value";
}

TEST_F(AppletDisplayMachine, secondDisplayOfAQueueExits) {
    putNote("note_a");
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(1)) << display.said();
    RoleProcess second(arguments());
    EXPECT_EQ(second.exitCode(), 15);
    EXPECT_TRUE(second.says("Applet queue context/lease rejected (err=32)"));
    EXPECT_TRUE(display.shows(1));
    display.kill();
    RoleProcess next(arguments());
    EXPECT_TRUE(next.shows(1)) << "the queue waits for the next display";
}

TEST_F(AppletDisplayMachine, savesEditsAndFollowsItsWriter) {
    putNote("note_a", ",\"allowNewNote\":true");
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(1)) << display.said();
    display.type("typed");
    EXPECT_TRUE(eventually([&] { return has(contentOf(queue_ / "note_a.json"), "typed"); })) << display.said();
    EXPECT_EQ(fs::status(queue_ / "note_a.json").permissions() & fs::perms::all, fs::perms{0600});
    display.ask(RoleProcess::clickOn(display.notes().at(0), 221, 13));
    EXPECT_TRUE(display.shows(1)) << "a queue's notes come from its writer alone";
    putPrivateFile(folder() / "drive_c/next", "{\"id\":\"note_e\"}");
    fs::rename(folder() / "drive_c/next", queue_ / "note_e.json");
    EXPECT_TRUE(display.shows(2));
    fs::remove(queue_ / "note_e.json");
    EXPECT_TRUE(display.shows(1));
}

TEST_F(AppletDisplayMachine, failedDismissalKeepsTheNoteOpen) {
    startInProcess();
    EXPECT_EQ(faults::uses("CreateMutexW"), 0U) << "the lease keeps a second one away";
    const HWND note = firstNote();
    whileHeld(".lifecycle.lock", [&] {
        EXPECT_EQ(told(WM_APP_NOTE_DISMISS), "[ERROR] App: Applet note dismissal failed; note kept open (err=32)\r\n");
        EXPECT_TRUE(has(told(WM_APP_NOTE_CHANGED), "(private note update failed; Windows error 32)"));
        return 0;
    });
    const std::vector<MessageBox> boxes = notices::takeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(utf8(boxes[0].caption + u": " + boxes[0].text),
              "Ombrel Notes: The note could not be dismissed and has been kept open.\nWindows error: 32");
    EXPECT_TRUE(boxes[0].owner == note && boxes[0].type == MB_ICONWARNING);
    EXPECT_TRUE(IsWindow(note) && isThere("note_a"));
    EXPECT_TRUE(has(told(WM_APP_NOTE_DISMISS), "cleanup deferred (err=5)")) << "not the staged program";
    EXPECT_FALSE(IsWindow(note) || isThere("note_a"));
}

TEST_F(AppletDisplayMachine, noteMayBeRemovedWhileItsMessageBoxIsOpen) {
    startInProcess();
    notices::duringNextBox([&] { told(WM_APP_FILE_REMOVED, TEXT("note_a.json")); });
    whileHeld(".lifecycle.lock", [&] { return told(WM_APP_NOTE_DISMISS); });
    EXPECT_EQ(notices::takeMessageBoxes().size(), 1U);
    EXPECT_EQ(firstNote(), nullptr);
}

TEST_F(AppletDisplayMachine, unstagedProgramKeepsTheAutoStartValue) {
    setRunValue(stage());
    putNote("note_a");
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(1)) << display.said();
    display.pressClose();
    EXPECT_TRUE(display.says("Applet dismissal startup cleanup deferred (err=5)"));
    EXPECT_TRUE(display.says("Applet external-removal startup cleanup deferred (err=5)")) << "by way of the watcher";
    EXPECT_TRUE(hasRunValue());
}

TEST_F(AppletDisplayMachine, lastDismissalOfTheStagedProgramRemovesTheAutoStartValue) {
    const fs::path image = stage();
    setRunValue(image);
    putNote("note_a");
    putNote("note_b");
    RoleProcess display(arguments(), {}, image);
    ASSERT_TRUE(display.shows(2)) << display.said();
    display.pressClose();
    ASSERT_TRUE(display.shows(1));
    EXPECT_TRUE(hasRunValue());
    display.pressClose();
    ASSERT_TRUE(display.shows(0));
    EXPECT_TRUE(eventually([&] { return !hasRunValue(); })) << display.said();
    EXPECT_FALSE(has(display.said(), "cleanup deferred"));
    // The process keeps running and shows new notes.
    setRunValue(image);
    putNote("note_c");
    ASSERT_TRUE(display.shows(1));
    fs::remove(queue_ / "note_c.json");
    EXPECT_TRUE(eventually([&] { return !hasRunValue(); })) << "a removal from outside counts as well";
}

// A pass over a store without notes removes the auto-start value only if the running program is in the store's runtime
// folder.
TEST_F(AppletDisplayMachine, onlyAStagedProgramRemovesTheAutoStartValue) {
    const std::string digits(64, 'b');
    const auto pass = [&](const fs::path& image, const std::string& err) {
        fs::create_directories(image.parent_path());
        fs::copy_file(RoleProcess::builtProgram(), image, fs::copy_options::overwrite_existing);
        RoleProcess recovery({"--applet-recover", "--log-level", "debug"}, {}, image);
        EXPECT_EQ(recovery.exitCode(), 0) << recovery.said();
        const std::string deferred = "Applet empty-store startup cleanup deferred (err=" + err + ")";
        EXPECT_EQ(recovery.said().find("cleanup deferred") == std::string::npos, err.empty()) << image;
        EXPECT_TRUE(err.empty() || recovery.says(deferred)) << image << recovery.said();
    };
    const fs::path runtime = root() / "runtime";
    pass(runtime / digits / "Vellumd.exe", "");  // the registry key does not even exist
    setRunValue(runtime / digits / "Vellumd.exe");
    pass(runtime / (digits.substr(1) + "x") / "Vellumd.exe", "13");
    pass(runtime / digits.substr(1) / "Vellumd.exe", "5");
    pass(runtime / (digits + "b") / "Vellumd.exe", "5");
    pass(runtime / digits / "vellumd.exe", "5");
    pass(root().parent_path() / "OmbrelAppletNotex/runtime" / digits / "Vellumd.exe",
         "5");  // a path of the same length in another place
    pass(runtime / digits / "more" / "Vellumd.exe", "5");
    pass(runtime / std::string(64, 'c') / "Vellumd.exe", "13");  // the value names another program
    EXPECT_TRUE(hasRunValue());
    pass(runtime / digits / "Vellumd.exe", "");
    EXPECT_FALSE(hasRunValue());
}

TEST_F(AppletDisplayMachine, passCleansUpWhateverItsResult) {
    const fs::path image = stage();
    const LogonIdentity live = {4, {0x4B2E0, 0}, 0x1DC30127C5E6F20}, over = {2, {1, 0}, 1};
    const auto pass = [&](const char* counts, const char* faults = "") {
        setRunValue(image);
        RoleProcess recovery({"--applet-recover"}, {{"VELLUM_FAULTS", faults}}, image);
        EXPECT_TRUE(recovery.says(counts)) << recovery.said();
        const int exitCode = recovery.exitCode();
        EXPECT_FALSE(has(recovery.said(), "cleanup deferred")) << recovery.said();
        return exitCode;
    };
    EXPECT_EQ(pass("live=0 unknown=0 deferred=0 failed=1", "FindFirstFileW:1=fail(1117)"), 16);
    EXPECT_FALSE(hasRunValue()) << "the queues could not be listed, and there are none";
    StoreMachine::putNote(makeQueue(utf8(formatQueueName(live))), "note_a.json", "{}");
    EXPECT_EQ(pass("live=1 unknown=0 deferred=0 failed=0"), 0);
    EXPECT_TRUE(hasRunValue()) << "a note is left";
    StoreMachine::putNote(makeQueue(utf8(formatQueueName(over))), "note_a.json", "{}");
    fs::create_directory(queue_ / "note_a.json");  // the own queue fails, so the queue of the other logon is deferred
    EXPECT_EQ(pass("live=0 unknown=0 deferred=2 failed=1"), 16);
}

TEST_F(AppletDisplayMachine, refusesEveryoneButItsUser) {
    putNote("note_a");
    for (const auto& [token, line] : {std::pair{"visitor@5", "Applet queue context/lease rejected (err=2)"},
                                      {"operator@4", "Applet queue context/lease rejected (err=5)"},
                                      {"operator@1 low", "Applet medium-integrity startup failed (err=5)"},
                                      {"operator@1 high", "Applet medium-integrity startup failed (err=5)"},
                                      {"SYSTEM@0", "Applet medium-integrity startup failed (err=5)"}}) {
        RoleProcess display(arguments(), {{"VELLUM_TOKEN", token}});
        EXPECT_EQ(display.exitCode(), 15) << token;
        EXPECT_TRUE(display.says(line)) << token << display.said();
    }
    RoleProcess recovery({"--applet-queue", "-i", "nonsense"});
    EXPECT_EQ(recovery.exitCode(), 14);
    EXPECT_TRUE(recovery.says("AppletNotes: invalid applet queue arguments\n"));
}
