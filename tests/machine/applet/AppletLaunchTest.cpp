// A recovery pass and its child processes.

#include "applet/AppletLaunch.h"
#include "machine/support/PassFixture.h"

using namespace AppletNotes;
using namespace platform;

class AppletLaunchMachine : public PassMachine {
  protected:
    AppletLaunchMachine() {
        makeStore();
        putNote(makeQueue(ownQueue()), "note_a.json", "{\"id\":\"note_a\"}");
    }

    bool isShown() const {
        const auto found = displays();
        return found.size() == 1 && !RoleProcess::notesIn(ask(1, found[0], "list")).empty();
    }
    // A child ends if its pass still holds the store's lock for the cleanup. Then another pass must show the note.
    bool isShownAfter(const RoleProcess& first, const Environment& environment = {}) const {
        std::unique_ptr<RoleProcess> next;
        for (int passes = 1; passes < 50; ++passes) {
            const RoleProcess& pass = next ? *next : first;
            const auto isRefused = [&] { return has(pass.said(), "Applet queue context/lease rejected (err=32)"); };
            if (!eventually([&] { return isShown() || isRefused(); })) return false;
            if (isShown()) return true;
            next = std::make_unique<RoleProcess>(recover(), environment);
            EXPECT_EQ(next->exitCode() & ~17, 0) << "0, or 17 where the child has not let go yet: " << next->said();
        }
        return false;
    }
    // Checks the exit code and output of a role, and how many processes have started by then.
    static void expectEnd(RoleProcess& role, int code, const std::string& line, std::size_t processes = 1) {
        EXPECT_EQ(role.exitCode(), code) << role.said();
        EXPECT_TRUE(role.says(line)) << line << role.said();
        EXPECT_EQ(role.timesSaid("Vellumd starting; pid="), processes) << role.said();
    }
    std::string refused(int err) const {
        return "Applet recovery: dispatch queue, queue=" + ownQueue() + " (err=" + std::to_string(err) + ")";
    }
    // Describes a machine without UAC whose user is an administrator.
    void describeUnfiltered(const char* enableLua) const {
        rewriteMachine(
            "[user operator]\nprofile = C:\\Users\\operator\nadministrator = yes\n"
            "[session 1]\nuser = operator\nlogon = 0x3A1F7\nlogon time = 0x1DC2F6A5B3C4D10\n"
            "shell token = operator@1 high\n");
        setUac("REG_DWORD", enableLua);
    }

    const Environment kHigh = {{"VELLUM_TOKEN", "operator@1 high"}, {"OF_THE_STARTER", "1"}};
};

TEST_F(AppletLaunchMachine, passStartsADisplayOfItsOwnQueueOnce) {
    const Environment environment = {{"VELLUM_JOB", "logon"}, {"OF_THE_STARTER", "1"}};
    RoleProcess pass(recover(), environment);
    EXPECT_EQ(pass.exitCode(), 0) << pass.said();
    EXPECT_TRUE(pass.says("claimed=0 dispatched=1 live=0 unknown=0 deferred=0 failed=0 incomplete=0"));
    ASSERT_TRUE(isShownAfter(pass, environment)) << pass.said();
    const pid_t first = displays()[0];
    EXPECT_TRUE(has(environmentOf(first), "VELLUM_TOKEN=operator@1"));
    EXPECT_EQ(RoleProcess::surroundings(first), "desktop=winsta0\\default job=logon with the starter's environment");

    // Another child finds that the queue is displayed, and ends.
    RoleProcess again(recover());
    EXPECT_EQ(again.exitCode(), 0);
    EXPECT_TRUE(again.says("Applet queue context/lease rejected (err=32)")) << again.said();
    EXPECT_EQ(displays(), std::vector<pid_t>{first});
}

TEST_F(AppletLaunchMachine, childWithAWrongTokenIsTerminated) {
    const auto rejects = [&](const char* token) {
        SCOPED_TRACE(token);
        fs::remove(folder() / "ended.txt");
        RoleProcess pass(recover(), {{"VELLUM_TOKEN", "operator@1 medium"}, {"VELLUM_CHILD_TOKEN", token}});
        expectEnd(pass, 16, refused(5));
        EXPECT_TRUE(contentOf(folder() / "ended.txt").ends_with(" 5\n")) << "its exit code";
    };
    for (const char* token : {"visitor@5", "visitor@1", "operator@4", "operator@4 logon=0x3A1F7",
                              "operator@1 logon=0x77", "operator@1 low", "operator@1 high", "SYSTEM@1 medium"})
        rejects(token);
    describeUnfiltered("00000000");
    rejects("operator@1 high");
    EXPECT_TRUE(displays().empty());
}

// Fails the first call after the child was created. That is the OpenProcessToken call that opens the child's token: it
// comes after those that a launch makes before it creates the child.
TEST_F(AppletLaunchMachine, failingCallTerminatesTheChild) {
    const auto launch = [&] { return dispatchQueue(wide(ownQueue())); };
    EXPECT_EQ(whileFailing("GetModuleFileNameW", 0, 1234, launch), 1234U);
    failCall("CreateProcessW", 1, 1234);
    EXPECT_EQ(launch(), 1234U);
    const unsigned before = faults::uses("OpenProcessToken");
    faults::clear();
    for (const auto& [call, use] : {std::pair{"OpenProcessToken", before + 1}, {"ResumeThread", 1U}})
        for (const bool isEnded : {true, false}) {
            SCOPED_TRACE(call);
            if (!isEnded) failCall("TerminateProcess", 1, ERROR_ACCESS_DENIED);
            EXPECT_EQ(whileFailing(call, use, 1234, launch), 1234U);
            EXPECT_EQ(has(log(), "AppletNotes: rejected child termination failed\n"), !isEnded);
        }
    EXPECT_TRUE(displays().empty());
    EXPECT_TRUE(fs::exists(root() / ownQueue() / "note_a.json"));
}

// Whichever call of a pass fails, the note stays in its queue or is shown exactly once.
TEST_F(AppletLaunchMachine, anyCallOfAPassCanFailWithoutLosingTheNote) {
    unsigned launched = 0, refused = 0;
    for (unsigned use = 20; use < 240; use += 11) {
        SCOPED_TRACE(use);
        RoleProcess pass(recover(), {{"VELLUM_FAULTS", "*:" + std::to_string(use) + "=fail(1234)"}});
        const int code = pass.exitCode();
        EXPECT_TRUE(code == 0 || (code >= 15 && code <= 17)) << code << pass.said();
        // If the check of its own token fails, the pass hands over to a child at medium integrity.
        const bool isLaunched = code == 0 || has(pass.said(), "dispatched=1");
        EXPECT_TRUE(isLaunched ? isShownAfter(pass) : pass.timesSaid("Vellumd starting; pid=") == 1) << pass.said();
        ++(isLaunched ? launched : refused);
        endProcesses();
        ASSERT_TRUE(fs::exists(root() / ownQueue() / "note_a.json"));
    }
    EXPECT_TRUE(launched > 2 && refused > 5) << launched << " " << refused;
}

TEST_F(AppletLaunchMachine, imageAndItsFoldersCannotMoveDuringALaunch) {
    faults::arm({"CreateProcessW", 1, faults::Action::Hold});
    failCall("CreateProcessW", 1, 1234);
    DWORD result = 0;
    std::thread launch([&] { result = dispatchQueue(wide(ownQueue())); });
    EXPECT_TRUE(eventually([] { return faults::fired(); }));
    for (fs::path part = hostPath(executablePath()); part != part.parent_path(); part = part.parent_path()) {
        const FileHandle moved(CreateFileW(productPath(part).c_str(), DELETE, 7, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        EXPECT_EQ(errorAfter(moved), ERROR_SHARING_VIOLATION) << part;
    }
    faults::disarm("CreateProcessW");
    launch.join();
    EXPECT_EQ(result, 1234U);
}

// A launch examines the image last.
TEST_F(AppletLaunchMachine, imageThatCannotBeExaminedIsRefused) {
    const auto launch = [&] { return dispatchQueue(wide(ownQueue())); };
    faults::clear();
    failCall("CreateProcessW", 1, 1234);
    EXPECT_EQ(launch(), 1234U);
    const unsigned looks = faults::uses("GetFileInformationByHandle");
    faults::clear();
    failCall("GetFileInformationByHandle", looks, 1234);
    EXPECT_EQ(launch(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(faults::uses("CreateProcessW"), 0U);
}

TEST_F(AppletLaunchMachine, refusesAnImageThatIsLinkedOrHasTooLongAPath) {
    const fs::path image = folder() / "drive_c/my programs/Vellumd.exe", way = folder() / "drive_c/way",
                   distant = folder() / "drive_c" / std::string(200, 'd') / std::string(60, 'd') / "Vellumd.exe";
    const auto isRefused = [&](const fs::path& refusedImage, int error) {
        RoleProcess pass(recover(), {}, refusedImage);
        expectEnd(pass, 16, refused(error));
    };
    fs::create_directory(image.parent_path());
    fs::copy_file(RoleProcess::builtProgram(), image);
    fs::create_directory_symlink(image.parent_path(), way);
    isRefused(way / "Vellumd.exe", ERROR_ACCESS_DENIED);
    {
        RoleProcess plain(recover(), {}, image);
        EXPECT_EQ(plain.exitCode(), 0) << plain.said();
        EXPECT_TRUE(isShownAfter(plain));
        endProcesses();
    }
    fs::create_hard_link(image, folder() / "drive_c/other.exe");
    isRefused(image, ERROR_ACCESS_DENIED);
    fs::create_directories(distant.parent_path());
    fs::copy_file(image, distant);
    isRefused(distant, ERROR_FILENAME_EXCED_RANGE);
}

TEST_F(AppletLaunchMachine, launchesOnlyAQueueOfThisLogon) {
    const WideString foreign = TEXT("applet-00000002-0000000000000999-0000000000000001"), none = TEXT("applet-x");
    AppletContext nobody;
    nobody.userSid = context().userSid;
    bool relaunched = true;
    DWORD err = 0;
    EXPECT_TRUE(startAtMediumIntegrity(foreign, relaunched, err) && !relaunched) << err;
    faults::clear();
    failCall("CreateProcessW", 0, 1234);
    for (const DWORD error : {launchApplet(context(), foreign, nullptr), dispatchQueue(foreign),
                              launchApplet(nobody, wide(ownQueue()), nullptr)})
        EXPECT_EQ(error, DWORD{ERROR_ACCESS_DENIED});
    for (const DWORD error : {launchApplet(context(), none, nullptr), dispatchQueue(none)})
        EXPECT_EQ(error, DWORD{ERROR_INVALID_PARAMETER});
    describeUnfiltered("00000000");
    useToken("operator@1 high");
    EXPECT_EQ(dispatchQueue(wide(ownQueue())), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(faults::uses("CreateProcessW"), 0U);
}

TEST_F(AppletLaunchMachine, passWithoutAStoreHasNothingToDo) {
    RoleProcess pass(recover(), {{"VELLUM_TOKEN", "visitor@5"}});
    EXPECT_EQ(pass.exitCode(), 0);
    EXPECT_EQ(pass.timesSaid("rejected"), 0U) << pass.said();
}

TEST_F(AppletLaunchMachine, passReportsABadStoreAndUnknownOwners) {
    chmod(root().c_str(), 0750);
    RoleProcess open(recover());
    expectEnd(open, 15, "Applet recovery store rejected (err=5)");
    chmod(root().c_str(), 0700);
    fs::remove_all(root() / ownQueue());
    rewriteMachine(kMachine + std::string("[logon 0x999]\nuser = operator\nsession = 2\ntype = 5\n"));
    putNote(makeQueue("applet-00000002-0000000000000999-0000000000000001"), "note_a.json", "x");
    RoleProcess pass(recover());
    expectEnd(pass, 17, "Applet queue owner lookup deferred (err=13)");
    EXPECT_TRUE(pass.says("unknown=1"));
}

// An administrator on a machine without UAC always has an elevated token.
TEST_F(AppletLaunchMachine, elevatedDisplayRunsInAChildAtMediumIntegrity) {
    describeUnfiltered("00000000");
    RoleProcess start({"--applet-queue", "-i", ownQueue()}, kHigh);
    EXPECT_EQ(start.exitCode(), 0) << start.said();
    ASSERT_TRUE(eventually([&] { return isShown(); })) << start.said();
    EXPECT_EQ(start.timesSaid("Vellumd starting; pid="), 2U);
    const std::string environment = environmentOf(displays()[0]);
    EXPECT_TRUE(has(environment, "VELLUM_TOKEN=operator@1 0x2000")) << environment;
    EXPECT_TRUE(has(environment, "LOCALAPPDATA=C:\\Users\\operator\\AppData\\Local"));
    EXPECT_EQ(RoleProcess::surroundings(displays()[0]), "desktop=winsta0\\default job=");
}

TEST_F(AppletLaunchMachine, elevatedPassRunsInAChildAtMediumIntegrity) {
    describeUnfiltered("00000000");
    for (const auto& [fault, line] :
         {std::pair{"none:1=fail", "dispatched=1"},
          {"DestroyEnvironmentBlock:1=fail(1234)", "AppletNotes: environment release failed\n"}}) {
        RoleProcess start(recover(), {kHigh[0], {"VELLUM_FAULTS", fault}, {"ASAN_OPTIONS", "detect_leaks=0"}});
        EXPECT_EQ(start.exitCode(), 0) << start.said();
        EXPECT_TRUE(start.says(line)) << start.said();
        EXPECT_TRUE(isShownAfter(start, kHigh));
        endProcesses();
    }
}

TEST_F(AppletLaunchMachine, elevatedPassExitsIfItsChildCannotStart) {
    describeUnfiltered("00000000");
    for (const char* call :
         {"SaferCreateLevel", "SaferComputeTokenFromLevel", "SaferCloseLevel", "CreateRestrictedToken",
          "DuplicateTokenEx", "SetTokenInformation", "CreateEnvironmentBlock", "CreateProcessAsUserW",
          "TerminateProcess:1=fail(5);ResumeThread", "SaferCloseLevel:1=fail(5);SaferComputeTokenFromLevel"}) {
        SCOPED_TRACE(call);
        RoleProcess start(recover(), {kHigh[0], {"VELLUM_FAULTS", call + std::string(":1=fail(1234)")}});
        expectEnd(start, 15, "Applet medium-integrity startup failed (err=1234)");
    }
    describeUnfiltered("01000000");
    RoleProcess start({"--applet-queue", "-i", ownQueue()}, kHigh);
    expectEnd(start, 15, "Applet medium-integrity startup failed (err=5)");
}
