// The display of a private queue, as processes.
#include <windows.h>

#include "RoleProcess.h"
#include "StoreFixture.h"

using namespace AppletNotes;
using namespace platform;

class AppletDisplayMachine : public StoreMachine {
  protected:
    AppletDisplayMachine() : store_(makeStore()), name_(ownQueue()), queue_(makeQueue(name_)) { store_ = QueueStore(); }

    void putNote(const std::string& id, const std::string& more = "") const {
        StoreMachine::putNote(queue_, id + ".json",
                              "{\"id\":\"" + id + "\",\"editable\":true,\"content\":\"text\"" + more + "}");
    }
    std::vector<std::string> arguments() const {
        return {"--applet-queue", "-i", name_, "--no-autostart", "--log-level", "debug"};
    }
    bool isThere(const std::string& id) const { return fs::exists(queue_ / (id + ".json")); }
    // The program where the writer stages it, and the value that it sets.
    fs::path stage() const {
        const fs::path folder = root() / "runtime" / std::string(64, 'a');
        fs::create_directories(folder);
        fs::copy_file(RoleProcess::builtProgram(), folder / "Vellumd.exe");
        return folder / "Vellumd.exe";
    }
    fs::path runValue() const {
        return folder() /
               "registry/HKEY_USERS/operator/Software/Microsoft/Windows/CurrentVersion/Run/OmbrelAppletNotes.REG_SZ";
    }
    void setRunValue(const fs::path& image) const {
        fs::create_directories(runValue().parent_path());
        std::ofstream(runValue()) << "\"" << utf8(productPath(image)) << "\" --applet-recover";
    }
    bool hasRunValue() const { return fs::exists(runValue()); }

    QueueStore store_;
    std::string name_;
    fs::path queue_;
};

TEST_F(AppletDisplayMachine, showsItsQueueAndWritesEditsBack) {
    putNote("note_a");
    putNote("note_b", ",\"allowNewNote\":true");
    putPrivateFile(queue_ / "note_c.json", "no note at all");
    putNote("note_d");
    chmod((queue_ / "note_d.json").c_str(), 0640);
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(2)) << display.said();
    EXPECT_TRUE(display.says("Failed to load note after 3 retries"));
    EXPECT_TRUE(display.says("note_d.json (private note read failed; Windows error 5)"));
    EXPECT_FALSE(fs::exists(folder() / "drive_c/ProgramData/OmbrelService_Common")) << "the role writes no log file";

    // A second one disturbs nothing.
    RoleProcess second(arguments());
    EXPECT_EQ(second.exitCode(), 15);
    EXPECT_TRUE(second.says("Applet queue context/lease rejected (err=32)"));
    EXPECT_TRUE(display.shows(2));

    display.type("typed");
    EXPECT_TRUE(eventually([&] {
        return (contentOf(queue_ / "note_a.json") + contentOf(queue_ / "note_b.json")).find("typed") !=
               std::string::npos;
    })) << display.said();
    for (const char* note : {"note_a.json", "note_b.json"})
        EXPECT_EQ(fs::status(queue_ / note).permissions() & fs::perms::all, fs::perms{0600}) << note;

    // A queue's notes come from its writer alone.
    for (const std::string& note : display.notes())
        display.ask(RoleProcess::clickOn(note, 221, 13));
    EXPECT_TRUE(display.shows(2));

    // What the writer adds or takes away follows.
    putPrivateFile(folder() / "drive_c/next", "{\"id\":\"note_e\"}");
    fs::rename(folder() / "drive_c/next", queue_ / "note_e.json");
    EXPECT_TRUE(display.shows(3));
    fs::remove(queue_ / "note_e.json");
    EXPECT_TRUE(display.shows(2));
    // The display ends, and the queue waits for the next.
    display.kill();
    RoleProcess next(arguments());
    EXPECT_TRUE(next.shows(2));
}

TEST_F(AppletDisplayMachine, dismissalThatFailsKeepsTheNoteOpen) {
    putNote("note_a");
    RoleProcess display(arguments());
    ASSERT_TRUE(display.shows(1)) << display.said();
    const HANDLE held = hold(".lifecycle.lock");
    display.pressClose();
    EXPECT_TRUE(display.says("Applet note dismissal failed; note kept open (err=32)"));
    EXPECT_TRUE(
        display.says("[Ombrel Notes]\nThe note could not be dismissed and has been kept open.\n"
                     "Windows error: 32"));
    EXPECT_TRUE(display.shows(1));
    EXPECT_TRUE(isThere("note_a"));
    display.type("unsaved");
    EXPECT_TRUE(display.says("(private note update failed; Windows error 32)"));
    EXPECT_EQ(contentOf(queue_ / "note_a.json").find("unsaved"), std::string::npos);
    CloseHandle(held);
    display.pressClose();
    EXPECT_TRUE(display.shows(0));
    EXPECT_FALSE(isThere("note_a"));
}

TEST_F(AppletDisplayMachine, lastDismissalOfTheStagedProgramRemovesTheAutoStartValue) {
    const fs::path image = stage();
    setRunValue(image);
    {
        putNote("note_a");
        RoleProcess other(arguments());
        ASSERT_TRUE(other.shows(1)) << other.said();
        other.pressClose();
        EXPECT_TRUE(other.says("Applet dismissal startup cleanup deferred (err=5)")) << "not the staged program";
        EXPECT_TRUE(other.says("Applet external-removal startup cleanup deferred (err=5)"))
            << "as the watcher tells it";
        EXPECT_TRUE(hasRunValue());
    }
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
    EXPECT_EQ(display.said().find("cleanup deferred"), std::string::npos);

    // The process stays, and shows what comes.
    setRunValue(image);
    putNote("note_c");
    ASSERT_TRUE(display.shows(1));
    fs::remove(queue_ / "note_c.json");
    ASSERT_TRUE(display.shows(0));
    EXPECT_TRUE(eventually([&] { return !hasRunValue(); })) << "a removal from outside counts as well";
}

// A pass over a store without notes removes the auto-start value where the program itself is the staged one.
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
    pass(runtime / digits / "Vellumd.exe", "");  // there is not even a key
    setRunValue(runtime / digits / "Vellumd.exe");
    pass(runtime / (digits.substr(1) + "x") / "Vellumd.exe", "13");
    pass(runtime / digits.substr(1) / "Vellumd.exe", "5");
    pass(runtime / (digits + "b") / "Vellumd.exe", "5");
    pass(runtime / digits / "vellumd.exe", "5");
    pass(runtime / digits / "more" / "Vellumd.exe", "5");
    pass(runtime / std::string(64, 'c') / "Vellumd.exe", "13");  // the value names another
    EXPECT_TRUE(hasRunValue());
    pass(runtime / digits / "Vellumd.exe", "");
    EXPECT_FALSE(hasRunValue());
}

TEST_F(AppletDisplayMachine, refusesWhoeverIsNotItsUser) {
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
