// A display process in every session, started by LocalSystem.
#include <windows.h>

#include "RoleProcess.h"
#include "StoreFixture.h"
#include "dispatch/SessionLauncher.h"

using namespace platform;

class SessionLauncherMachine : public MachineTest {
  protected:
    static constexpr const char* kMachine =
        "[user operator]\nprofile = C:\\Users\\operator\n"
        "[user admin]\nprofile = C:\\Users\\admin\nadministrator = yes\n"
        "[user visitor]\nprofile = C:\\Users\\visitor\n"
        "[session 1]\nuser = operator\nstate = active\n"
        "[session 2]\nuser = visitor\nstate = disconnected\n"
        "[session 3]\nuser = admin\nelevated = yes\n"
        "[session 4]\nstate = connected\n"
        "[session 5]\nuser = visitor\nstate = listen\n";

    SessionLauncherMachine() { describe(kMachine); }
    ~SessionLauncherMachine() override { endProcesses(); }

    fs::path sockets(DWORD session) const { return folder() / "desktops" / std::to_string(session); }
    std::vector<pid_t> displays(DWORD session) const {
        std::vector<pid_t> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(sockets(session), error)) {
            const pid_t id = std::atoi(entry.path().filename().c_str());
            if (id > 0 && kill(id, 0) == 0) found.push_back(id);
        }
        return found;
    }
    void end(DWORD session, pid_t id) const {
        kill(id, SIGKILL);
        fs::remove(sockets(session) / std::to_string(id));
    }
    bool isServedOnce(DWORD session) const {
        return eventually([&] { return displays(session).size() == 1; }, std::chrono::seconds(20));
    }
    // Nothing is started: the program is not there.
    static bool dispatch() { return SessionLauncher::dispatchToSessions(TEXT("C:\\none.exe"), TEXT("")); }
    static Environment system() { return {{"VELLUM_TOKEN", "SYSTEM@0"}}; }
};

TEST_F(SessionLauncherMachine, everySessionOfAUserIsServedAndServedAgain) {
    const std::vector<std::string> arguments = {"--launch-user-sessions", "--log-level", "debug"};
    RoleProcess first(arguments, system());
    EXPECT_EQ(first.exitCode(), 0) << first.said();
    for (const DWORD session : {1U, 2U, 3U}) {
        ASSERT_TRUE(isServedOnce(session)) << session << first.said();
        EXPECT_TRUE(first.says("Launch attempt in session " + std::to_string(session) + " (pid="));
    }
    EXPECT_TRUE(displays(4).empty()) << "nobody is logged on";
    EXPECT_TRUE(displays(5).empty()) << "a session in another state";
    EXPECT_TRUE(has(environmentOf(displays(2)[0]), "VELLUM_TOKEN=visitor@2"));
    EXPECT_TRUE(has(environmentOf(displays(2)[0]), "LOCALAPPDATA=C:\\Users\\visitor\\AppData\\Local"));
    EXPECT_TRUE(has(environmentOf(displays(3)[0]), "VELLUM_TOKEN=admin@3 0x2000"))
        << "the limited token: " << environmentOf(displays(3)[0]);
    EXPECT_TRUE(fs::exists(folder() / "drive_c/Users/visitor/AppData/Local/Quorvane/Ombrel/Notes"));

    const pid_t untouched = displays(1)[0];
    end(2, displays(2)[0]);
    RoleProcess second(arguments, system());
    EXPECT_EQ(second.exitCode(), 0);
    for (const DWORD session : {1U, 2U, 3U})
        EXPECT_TRUE(isServedOnce(session)) << session;
    EXPECT_TRUE(eventually([&] {
        const std::string text = second.said(), line = "Another instance is running";
        const std::size_t once = text.find(line);
        return once != std::string::npos && text.find(line, once + 1) != std::string::npos;
    })) << second.said();
    EXPECT_EQ(displays(1), std::vector<pid_t>{untouched});
}

TEST_F(SessionLauncherMachine, optionsArriveAsTheyWereGiven) {
    describe("[user operator]\nprofile = C:\\Users\\operator\n[session 1]\nuser = operator\n");
    fs::create_directories(folder() / "drive_c/notes here");
    RoleProcess run({"--launch-user-sessions", "-i", "blue \\\"sky\\", "--folder", "C:\\notes here\\"}, system());
    EXPECT_EQ(run.exitCode(), 0) << run.said();
    ASSERT_TRUE(isServedOnce(1));
    // The instance's folder, with what a file name cannot have replaced.
    EXPECT_TRUE(eventually([&] { return fs::exists(folder() / "drive_c/notes here/blue __sky_"); }));
}

TEST_F(SessionLauncherMachine, onlyLocalSystemMayDispatch) {
    for (const char* token : {"operator@1", "admin@3 high"}) {
        useToken(token);
        EXPECT_FALSE(dispatch());
        EXPECT_EQ(log(), "[ERROR] SessionLauncher: Session dispatch requires LocalSystem; use elevated /register\r\n");
        EXPECT_EQ(faults::uses("WTSEnumerateSessionsW"), 0U) << "no session is touched";
    }
    RoleProcess run({"--launch-user-sessions"});
    EXPECT_EQ(run.exitCode(), 13);
}

TEST_F(SessionLauncherMachine, withoutSessionsAllAreServed) {
    describe("[user operator]\nprofile = C:\\Users\\operator\n");
    useToken("SYSTEM@0");
    EXPECT_TRUE(dispatch());
    EXPECT_EQ(log(), "");
}

TEST_F(SessionLauncherMachine, failedSessionStopsNoOther) {
    useToken("SYSTEM@0");
    EXPECT_FALSE(dispatch());
    const std::string all = log();
    for (const char* session : {"1", "2", "3"})
        EXPECT_TRUE(has(
            all, std::string("[WARN ] SessionLauncher: CreateProcessAsUser(session=") + session + ") failed (err=2)"))
            << all;

    struct Row {
        const char* call;
        unsigned use;
        const char* line;
    };
    // In the order of the calls; the second session is the one that fails.
    const Row rows[] = {
        {"OpenProcessToken", 1, "[ERROR] SessionLauncher: OpenProcessToken failed (err=1234)"},
        {"GetTokenInformation", 2, "[ERROR] SessionLauncher: Session dispatch requires LocalSystem"},
        {"LookupPrivilegeValueW", 2,
         "[ERROR] SessionLauncher: LookupPrivilegeValue(SeAssignPrimaryTokenPrivilege) failed (err=1234)"},
        {"AdjustTokenPrivileges", 3, "[ERROR] SessionLauncher: Cannot enable SeIncreaseQuotaPrivilege (err=1234)"},
        {"WTSEnumerateSessionsW", 1, "[ERROR] SessionLauncher: WTSEnumerateSessions failed (err=1234)"},
        {"WTSQueryUserToken", 2, "[WARN ] SessionLauncher: WTSQueryUserToken(session=2) failed (err=1234)"},
        {"GetTokenInformation", 5, "[WARN ] SessionLauncher: Cannot query token elevation (session=2, err=1234)"},
        {"GetTokenInformation", 6, "[ERROR] SessionLauncher: Token does not target session 2"},
        {"GetTokenInformation", 8, "[WARN ] SessionLauncher: Cannot obtain limited token (session=3, err=1234)"},
        {"CreateEnvironmentBlock", 2, "[WARN ] SessionLauncher: CreateEnvironmentBlock(session=2) failed (err=1234)"},
    };
    for (const Row& row : rows) {
        faults::clear();
        faults::arm({row.call, row.use, faults::Action::Fail, 1234});
        EXPECT_FALSE(dispatch()) << row.line;
        const std::string text = log();
        EXPECT_TRUE(has(text, row.line)) << text;
        const bool early = has(row.line, "[ERROR] SessionLauncher: ") && !has(row.line, "target");
        EXPECT_EQ(has(text, "(session=1) failed (err=2)"), !early) << text;
    }
    faults::clear();
    EXPECT_EQ(faults::openHandles(), 0U);
    EXPECT_EQ(faults::openAllocations(), 0U);
}
