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
        "[session 1]\nuser = operator\nstate = active\n[session 2]\nuser = visitor\nstate = disconnected\n"
        "[session 3]\nuser = admin\nelevated = yes\n"
        "[session 4]\nstate = connected\n[session 5]\nuser = visitor\nstate = listen\n";

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
    bool isServedOnce(DWORD session) const {
        return eventually([&] { return displays(session).size() == 1; }, std::chrono::seconds(20));
    }
    // What is said when no process can be started: the program is not there.
    static std::string dispatch(bool isServed = false) {
        EXPECT_EQ(SessionLauncher::dispatchToSessions(TEXT("C:\\none.exe"), TEXT("")), isServed);
        return log();
    }
    static Environment system(const char* job = "scheduler breakaway") {
        return {{"VELLUM_TOKEN", "SYSTEM@0"}, {"VELLUM_JOB", job}, {"OF_THE_STARTER", "1"}};
    }
};

TEST_F(SessionLauncherMachine, everySessionOfAUserIsServedAndServedAgain) {
    const std::vector<std::string> arguments = {"--launch-user-sessions", "--log-level", "debug"};
    RoleProcess first(arguments, system());
    EXPECT_EQ(first.exitCode(), 0) << first.said();
    for (const DWORD session : {1U, 2U, 3U}) {
        ASSERT_TRUE(isServedOnce(session)) << session << first.said();
        const pid_t display = displays(session)[0];
        EXPECT_TRUE(
            first.says("Launch attempt in session " + std::to_string(session) + " (pid=" + std::to_string(display)));
        EXPECT_EQ(RoleProcess::surroundings(display), "desktop=winsta0\\default job=");
    }
    EXPECT_TRUE(displays(4).empty()) << "nobody is logged on";
    EXPECT_TRUE(displays(5).empty()) << "a session in another state";
    EXPECT_TRUE(has(environmentOf(displays(2)[0]), "VELLUM_TOKEN=visitor@2"));
    EXPECT_TRUE(has(environmentOf(displays(2)[0]), "LOCALAPPDATA=C:\\Users\\visitor\\AppData\\Local"));
    EXPECT_TRUE(has(environmentOf(displays(3)[0]), "VELLUM_TOKEN=admin@3 0x2000"))
        << "the limited token: " << environmentOf(displays(3)[0]);
    EXPECT_TRUE(fs::exists(folder() / "drive_c/Users/visitor/AppData/Local/Quorvane/Ombrel/Notes"));

    const pid_t untouched = displays(1)[0];
    end(displays(2)[0]);
    fs::remove_all(sockets(2));
    RoleProcess second(arguments, system());
    EXPECT_EQ(second.exitCode(), 0);
    for (const DWORD session : {1U, 2U, 3U})
        EXPECT_TRUE(isServedOnce(session)) << session;
    EXPECT_TRUE(eventually([&] { return second.timesSaid("Another instance is running") == 2; })) << second.said();
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
        EXPECT_EQ(dispatch(),
                  "[ERROR] SessionLauncher: Session dispatch requires LocalSystem; use elevated /register\r\n");
        EXPECT_EQ(faults::uses("WTSEnumerateSessionsW"), 0U) << "no session is touched";
    }
    RoleProcess run({"--launch-user-sessions"});
    EXPECT_EQ(run.exitCode(), 13);
}

TEST_F(SessionLauncherMachine, jobThatLetsNobodyGoKeepsTheSessionsUnserved) {
    RoleProcess run({"--launch-user-sessions"}, system("scheduler"));
    EXPECT_EQ(run.exitCode(), 13);
    for (const char* session : {"1", "2", "3"})
        EXPECT_TRUE(run.says(std::string("CreateProcessAsUser(session=") + session + ") failed (err=5)")) << run.said();
}

TEST_F(SessionLauncherMachine, withoutSessionsAllAreServed) {
    describe("[user operator]\nprofile = C:\\Users\\operator\n");
    useToken("SYSTEM@0");
    EXPECT_EQ(dispatch(true), "");
}

TEST_F(SessionLauncherMachine, tokenHasToBeOfTheSession) {
    describe("[user visitor]\nprofile = C:\\Users\\visitor\n[session 2]\nuser = visitor\nuser token = visitor@1\n");
    useToken("SYSTEM@0");
    EXPECT_EQ(dispatch(), "[ERROR] SessionLauncher: Token does not target session 2\r\n");
}

TEST_F(SessionLauncherMachine, privilegeThatTheTokenLacksIsMissed) {
    useToken("SYSTEM@0");
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES removed = {1, {{{5, 0}, SE_PRIVILEGE_REMOVED}}};  // SeIncreaseQuotaPrivilege
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    ASSERT_TRUE(AdjustTokenPrivileges(token, FALSE, &removed, 0, nullptr, nullptr) && CloseHandle(token));
    EXPECT_EQ(dispatch(), "[ERROR] SessionLauncher: Cannot enable SeIncreaseQuotaPrivilege (err=1300)\r\n");
}

TEST_F(SessionLauncherMachine, failedSessionStopsNoOther) {
    useToken("SYSTEM@0");
    const std::string all = dispatch();
    for (const char* session : {"1", "2", "3"})
        EXPECT_TRUE(has(
            all, std::string("[WARN ] SessionLauncher: CreateProcessAsUser(session=") + session + ") failed (err=2)"))
            << all;

    // In the order of the calls; the second session is the one that fails.
    const struct {
        const char* call;
        unsigned use;
        const char* line;
    } rows[] = {
        {"GetTokenInformation", 1, ""},
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
    for (const auto& row : rows) {
        faults::clear();
        faults::arm({row.call, row.use, faults::Action::Fail, 1234});
        const std::string text = dispatch();
        EXPECT_TRUE(*row.line != 0 ? has(text, row.line) : text.empty()) << row.line << text;
        const bool early = !has(row.line, "WARN") && !has(row.line, "target");
        EXPECT_EQ(has(text, "(session=1) failed (err=2)"), !early) << text;
    }
    faults::clear();
    EXPECT_TRUE(SessionLauncher::dispatchToSessions(productPath(RoleProcess::builtProgram()), TEXT("--no-autostart")));
    EXPECT_EQ(faults::openHandles(), 0U);
    EXPECT_EQ(faults::openAllocations(), 0U);
}
