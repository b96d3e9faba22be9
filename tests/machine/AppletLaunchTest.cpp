// A recovery pass and its children, as processes.
#include <windows.h>

#include "PassFixture.h"
#include "applet/AppletLaunch.h"

using namespace AppletNotes;
using namespace platform;

class AppletLaunchMachine : public PassMachine {
  protected:
    AppletLaunchMachine() {
        makeStore();
        putNote(makeQueue(ownQueue()), "note_a.json", "{\"id\":\"note_a\"}");
    }

    bool isShown(DWORD session = 1) const {
        return eventually([&] {
            const auto found = displays(session);
            return found.size() == 1 && ask(session, found[0], "list").find("Vellumd.NoteWindow") != std::string::npos;
        });
    }
    static std::size_t starts(const RoleProcess& process) {
        const std::string text = process.said(), line = "Vellumd starting; pid=";
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; at += line.size())
            ++count;
        return count;
    }
    // A machine without UAC whose user is an administrator.
    void describeUnfiltered(const char* enableLua) const {
        rewriteMachine(
            "[user operator]\nprofile = C:\\Users\\operator\nadministrator = yes\n"
            "[session 1]\nuser = operator\nlogon = 0x3A1F7\nlogon time = 0x1DC2F6A5B3C4D10\n"
            "shell token = operator@1 high\n");
        setUac("REG_DWORD", enableLua);
    }
};

TEST_F(AppletLaunchMachine, passStartsADisplayOfItsOwnQueueOnce) {
    RoleProcess pass(recover());
    EXPECT_EQ(pass.exitCode(), 0) << pass.said();
    EXPECT_TRUE(pass.says("claimed=0 dispatched=1 live=0 unknown=0 deferred=0 failed=0 incomplete=0"));
    ASSERT_TRUE(isShown()) << pass.said();
    const pid_t first = displays()[0];
    EXPECT_NE(environmentOf(first).find("VELLUM_TOKEN=operator@1"), std::string::npos);
    EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(first) + "/cwd"), RoleProcess::builtProgram().parent_path());

    // A further child finds the queue displayed, and ends.
    RoleProcess again(recover());
    EXPECT_EQ(again.exitCode(), 0);
    EXPECT_TRUE(again.says("Applet queue context/lease rejected (err=32)")) << again.said();
    EXPECT_EQ(displays(), std::vector<pid_t>{first});
}

TEST_F(AppletLaunchMachine, childOfAnotherTokenRunsNothing) {
    for (const char* token :
         {"visitor@5", "operator@4", "operator@1 logon=0x77", "operator@1 low", "operator@1 high", "SYSTEM@1 medium"}) {
        RoleProcess pass(recover(), {{"VELLUM_CHILD_TOKEN", token}});
        EXPECT_EQ(pass.exitCode(), 16) << token;
        EXPECT_TRUE(pass.says("Applet recovery: dispatch queue, queue=" + ownQueue() + " (err=5)")) << pass.said();
        EXPECT_EQ(starts(pass), 1U) << "the child's first line would be here: " << pass.said();
    }
    EXPECT_TRUE(displays().empty());
}

TEST_F(AppletLaunchMachine, failedCallRejectsTheChild) {
    struct Row {
        const char* fault;
        const char* line;
    };
    // The uses before are those of the start, of the store and of the pass itself.
    const Row rows[] = {
        {"CreateProcessW:1=fail(1234)", "(err=1234)"},
        {"OpenProcessToken:10=fail(1234);TerminateProcess:1=fail(5)",
         "AppletNotes: rejected child termination failed\n"},  // the child's
        {"ResumeThread:1=fail(1234)", "(err=1234)"},
        {"ResumeThread:1=fail(1234);TerminateProcess:1=fail(5)", "AppletNotes: rejected child termination failed\n"},
        {"GetModuleFileNameW:every=fail(1234)", "(err=1234)"},
    };
    for (const Row& row : rows) {
        RoleProcess pass(recover(), {{"VELLUM_FAULTS", row.fault}});
        EXPECT_EQ(pass.exitCode(), 16) << row.fault << pass.said();
        EXPECT_TRUE(pass.says("Applet recovery: dispatch queue, queue=" + ownQueue())) << row.fault;
        EXPECT_TRUE(pass.says(row.line)) << row.fault << pass.said();
        EXPECT_EQ(starts(pass), 1U) << row.fault;
    }
    EXPECT_TRUE(displays().empty());
    EXPECT_TRUE(fs::exists(root() / ownQueue() / "note_a.json"));
}

// Whatever use of a call fails from the start to the end of a pass, the note is in the queue, or on a screen once.
TEST_F(AppletLaunchMachine, anyCallOfAPassMayFail) {
    unsigned launched = 0, refused = 0;
    for (unsigned use = 20; use < 240; use += 7) {
        RoleProcess pass(recover(), {{"VELLUM_FAULTS", "*:" + std::to_string(use) + "=fail(1234)"}});
        const int code = pass.exitCode();
        EXPECT_TRUE(code == 0 || (code >= 15 && code <= 17)) << use << ": " << code << pass.said();
        // Where a look at its own token fails, the pass hands over to a child at medium integrity.
        if (code == 0 || pass.said().find("dispatched=1") != std::string::npos) {
            EXPECT_TRUE(isShown()) << use << pass.said();
            ++launched;
        } else {
            EXPECT_EQ(starts(pass), 1U) << use << pass.said();
            ++refused;
        }
        endProcesses();
        ASSERT_TRUE(fs::exists(root() / ownQueue() / "note_a.json"));
    }
    EXPECT_GT(launched, 2U);
    EXPECT_GT(refused, 5U);
}

TEST_F(AppletLaunchMachine, imageWithASecondLinkIsNotStarted) {
    const fs::path image = folder() / "drive_c/my programs/Vellumd.exe";
    fs::create_directory(image.parent_path());
    fs::copy_file(RoleProcess::builtProgram(), image);
    {
        RoleProcess pass(recover(), {}, image);
        EXPECT_EQ(pass.exitCode(), 0) << pass.said();
        EXPECT_TRUE(isShown());
        endProcesses();
    }
    fs::create_hard_link(image, folder() / "drive_c/other.exe");
    RoleProcess pass(recover(), {}, image);
    EXPECT_EQ(pass.exitCode(), 16);
    EXPECT_TRUE(pass.says("(err=5)"));
    EXPECT_EQ(starts(pass), 1U);
}

TEST_F(AppletLaunchMachine, imageIsNotStartedThroughALink) {
    const fs::path real = folder() / "drive_c/real", way = folder() / "drive_c/way";
    fs::create_directory(real);
    fs::copy_file(RoleProcess::builtProgram(), real / "Vellumd.exe");
    fs::create_directory_symlink(real, way);
    RoleProcess pass(recover(), {}, way / "Vellumd.exe");
    EXPECT_EQ(pass.exitCode(), 16);
    EXPECT_TRUE(pass.says("Applet recovery: dispatch queue, queue=" + ownQueue() + " (err=5)")) << pass.said();
    EXPECT_EQ(starts(pass), 1U);
}

TEST_F(AppletLaunchMachine, onlyAQueueOfThisLogonIsLaunched) {
    const WideString foreign = TEXT("applet-00000002-0000000000000999-0000000000000001");
    AppletContext nobody;
    nobody.userSid = context().userSid;
    faults::clear();
    EXPECT_EQ(launchApplet(context(), foreign, nullptr), 5U);
    EXPECT_EQ(launchApplet(context(), TEXT("applet-x"), nullptr), 87U);
    EXPECT_EQ(launchApplet(nobody, wide(ownQueue()), nullptr), 5U);
    EXPECT_EQ(dispatchQueue(foreign), 5U);
    EXPECT_EQ(dispatchQueue(TEXT("applet-x")), 87U);
    EXPECT_EQ(faults::uses("CreateProcessW"), 0U);
}

TEST_F(AppletLaunchMachine, passEndsAsStoreAndOwnersAllow) {
    {
        RoleProcess pass(recover(), {{"VELLUM_TOKEN", "visitor@5"}});
        EXPECT_EQ(pass.exitCode(), 0) << "no store, nothing to do";
        EXPECT_EQ(pass.said().find("rejected"), std::string::npos) << pass.said();
    }
    {
        chmod(root().c_str(), 0750);
        RoleProcess pass(recover());
        EXPECT_EQ(pass.exitCode(), 15);
        EXPECT_TRUE(pass.says("Applet recovery store rejected (err=5)")) << pass.said();
        chmod(root().c_str(), 0700);
    }
    fs::remove_all(root() / ownQueue());
    rewriteMachine(kMachine + std::string("[logon 0x999]\nuser = operator\nsession = 2\ntype = 5\n"));
    putNote(makeQueue("applet-00000002-0000000000000999-0000000000000001"), "note_a.json", "x");
    RoleProcess pass(recover());
    EXPECT_EQ(pass.exitCode(), 17);
    EXPECT_TRUE(pass.says("Applet queue owner lookup deferred (err=13)")) << pass.said();
    EXPECT_TRUE(pass.says("unknown=1"));
}

// An administrator on a machine without UAC is elevated from the start: the role runs in a child at medium integrity.
TEST_F(AppletLaunchMachine, elevatedStartHandsOverToAChildAtMediumIntegrity) {
    describeUnfiltered("00000000");
    const Environment high = {{"VELLUM_TOKEN", "operator@1 high"}};
    {
        RoleProcess start({"--applet-queue", "-i", ownQueue()}, high);
        EXPECT_EQ(start.exitCode(), 0) << start.said();
        ASSERT_TRUE(isShown()) << start.said();
        EXPECT_EQ(starts(start), 2U);
        const std::string environment = environmentOf(displays()[0]);
        EXPECT_NE(environment.find("VELLUM_TOKEN=operator@1 0x2000"), std::string::npos) << environment;
        EXPECT_NE(environment.find("LOCALAPPDATA=C:\\Users\\operator\\AppData\\Local"), std::string::npos);
        endProcesses();
    }
    {
        RoleProcess start(recover(), high);
        EXPECT_EQ(start.exitCode(), 0);
        EXPECT_TRUE(start.says("dispatched=1")) << "in the child: " << start.said();
        EXPECT_TRUE(isShown());
        endProcesses();
    }
    for (const char* call :
         {"SaferCreateLevel", "SaferComputeTokenFromLevel", "SaferCloseLevel", "CreateRestrictedToken",
          "DuplicateTokenEx", "SetTokenInformation", "CreateEnvironmentBlock", "CreateProcessAsUserW"}) {
        RoleProcess start(recover(), {high[0], {"VELLUM_FAULTS", call + std::string(":1=fail(1234)")}});
        EXPECT_EQ(start.exitCode(), 15) << call;
        EXPECT_TRUE(start.says("Applet medium-integrity startup failed (err=1234)")) << call << start.said();
        EXPECT_EQ(starts(start), 1U) << call;
    }
    {
        RoleProcess start(
            recover(),
            {high[0], {"VELLUM_FAULTS", "DestroyEnvironmentBlock:1=fail(1234)"}, {"ASAN_OPTIONS", "detect_leaks=0"}});
        EXPECT_EQ(start.exitCode(), 0);
        EXPECT_TRUE(start.says("AppletNotes: environment release failed\n")) << start.said();
        EXPECT_TRUE(isShown());
        endProcesses();
    }
    describeUnfiltered("01000000");
    RoleProcess start({"--applet-queue", "-i", ownQueue()}, high);
    EXPECT_EQ(start.exitCode(), 15);
    EXPECT_TRUE(start.says("Applet medium-integrity startup failed (err=5)"));
    EXPECT_EQ(starts(start), 1U) << "nothing is launched";
}
