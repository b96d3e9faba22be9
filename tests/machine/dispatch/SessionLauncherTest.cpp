// LocalSystem starts a display process in every session.

#include "dispatch/SessionLauncher.h"
#include "machine/support/RoleProcess.h"
#include "machine/support/StoreFixture.h"

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

    bool isServedOnce(DWORD session) const {
        return eventually([&] { return processesIn(session).size() == 1; }, std::chrono::seconds(20));
    }
    // Runs the role and waits until each session with a user has a display.
    void serve(RoleProcess& dispatcher) const {
        EXPECT_EQ(dispatcher.exitCode(), 0) << dispatcher.said();
        for (const DWORD session : {1U, 2U, 3U})
            ASSERT_TRUE(isServedOnce(session)) << session << dispatcher.said();
    }
    // Dispatches a program that does not exist. Returns the log.
    static std::string dispatch(bool isServed = false) {
        EXPECT_EQ(SessionLauncher::dispatchToSessions(TEXT("C:\\none.exe"), TEXT("")), isServed);
        return log();
    }
    static Environment system(const char* job = "scheduler breakaway") {
        return {{"VELLUM_TOKEN", "SYSTEM@0"}, {"VELLUM_JOB", job}, {"OF_THE_STARTER", "1"}};
    }
    static RoleArguments launch() { return {"--launch-user-sessions", "--log-level", "debug"}; }
};

TEST_F(SessionLauncherMachine, everyUserSessionGetsADisplayWithItsToken) {
    RoleProcess dispatcher(launch(), system());
    serve(dispatcher);
    for (const DWORD session : {1U, 2U, 3U}) {
        const pid_t id = processesIn(session)[0];
        EXPECT_TRUE(
            dispatcher.says("Launch attempt in session " + std::to_string(session) + " (pid=" + std::to_string(id)));
        EXPECT_EQ(RoleProcess::surroundings(id), "desktop=winsta0\\default job=");
    }
    EXPECT_TRUE(processesIn(4).empty()) << "nobody is logged on";
    EXPECT_TRUE(processesIn(5).empty()) << "a session in another state";
    const std::string visitor = environmentOf(processesIn(2)[0]), admin = environmentOf(processesIn(3)[0]);
    EXPECT_TRUE(has(visitor, "VELLUM_TOKEN=visitor@2")) << visitor;
    EXPECT_TRUE(has(visitor, "LOCALAPPDATA=C:\\Users\\visitor\\AppData\\Local")) << visitor;
    EXPECT_TRUE(has(admin, "VELLUM_TOKEN=admin@3 0x2000")) << "the limited token: " << admin;
    EXPECT_TRUE(fs::exists(folder() / "drive_c/Users/visitor/AppData/Local/Quorvane/Ombrel/Notes"));
}

TEST_F(SessionLauncherMachine, nextDispatchServesSessionsWithoutADisplay) {
    RoleProcess first(launch(), system());
    serve(first);
    const std::vector<pid_t> untouched = processesIn(1);
    end(processesIn(2)[0]);
    fs::remove_all(sockets(2));
    RoleProcess second(launch(), system());
    serve(second);
    EXPECT_TRUE(eventually([&] { return second.timesSaid("Another instance is running") == 2; })) << second.said();
    EXPECT_EQ(processesIn(1), untouched);
}

TEST_F(SessionLauncherMachine, passesOptionsUnchanged) {
    describe("[user operator]\nprofile = C:\\Users\\operator\n[session 1]\nuser = operator\n");
    fs::create_directories(folder() / "drive_c/notes here");
    RoleProcess run({"--launch-user-sessions", "-i", "blue \\\"sky\\", "--folder", "C:\\notes here\\"}, system());
    EXPECT_EQ(run.exitCode(), 0) << run.said();
    ASSERT_TRUE(isServedOnce(1));
    // The folder of the instance, with invalid characters replaced.
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

TEST_F(SessionLauncherMachine, jobWithoutBreakawayStartsNoDisplays) {
    RoleProcess run({"--launch-user-sessions"}, system("scheduler"));
    EXPECT_EQ(run.exitCode(), 13);
    for (const char* session : {"1", "2", "3"})
        EXPECT_TRUE(run.says(std::string("CreateProcessAsUser(session=") + session + ") failed (err=5)")) << run.said();
}

TEST_F(SessionLauncherMachine, dispatchWithoutSessionsSucceeds) {
    describe("[user operator]\nprofile = C:\\Users\\operator\n");
    useToken("SYSTEM@0");
    EXPECT_EQ(dispatch(true), "");
}

TEST_F(SessionLauncherMachine, tokenMustBelongToTheSession) {
    describe("[user visitor]\nprofile = C:\\Users\\visitor\n[session 2]\nuser = visitor\nuser token = visitor@1\n");
    useToken("SYSTEM@0");
    EXPECT_EQ(dispatch(), "[ERROR] SessionLauncher: Token does not target session 2\r\n");
}

TEST_F(SessionLauncherMachine, missingPrivilegeIsAnError) {
    useToken("SYSTEM@0");
    KernelHandle token;
    TOKEN_PRIVILEGES removed = {1, {{{5, 0}, SE_PRIVILEGE_REMOVED}}};  // SeIncreaseQuotaPrivilege
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.put()));
    ASSERT_TRUE(AdjustTokenPrivileges(token.get(), FALSE, &removed, 0, nullptr, nullptr));
    EXPECT_EQ(dispatch(), "[ERROR] SessionLauncher: Cannot enable SeIncreaseQuotaPrivilege (err=1300)\r\n");
}

TEST_F(SessionLauncherMachine, failedStartDoesNotStopOtherSessions) {
    useToken("SYSTEM@0");
    const std::string all = dispatch();
    for (const char* session : {"1", "2", "3"})
        EXPECT_TRUE(has(
            all, std::string("[WARN ] SessionLauncher: CreateProcessAsUser(session=") + session + ") failed (err=2)"))
            << all;
}

// In call order. A failure for the second session does not affect the first.
TEST_F(SessionLauncherMachine, everyFailureHasItsLogLine) {
    const std::tuple<const char*, unsigned, const char*, const char*> rows[] = {
        {"OpenProcessToken", 1, "ERROR", "OpenProcessToken failed (err=1234)"},
        {"GetTokenInformation", 2, "ERROR", "Session dispatch requires LocalSystem"},
        {"LookupPrivilegeValueW", 2, "ERROR", "LookupPrivilegeValue(SeAssignPrimaryTokenPrivilege) failed (err=1234)"},
        {"AdjustTokenPrivileges", 3, "ERROR", "Cannot enable SeIncreaseQuotaPrivilege (err=1234)"},
        {"WTSEnumerateSessionsW", 1, "ERROR", "WTSEnumerateSessions failed (err=1234)"},
        {"WTSQueryUserToken", 2, "WARN ", "WTSQueryUserToken(session=2) failed (err=1234)"},
        {"GetTokenInformation", 5, "WARN ", "Cannot query token elevation (session=2, err=1234)"},
        {"GetTokenInformation", 6, "ERROR", "Token does not target session 2"},
        {"GetTokenInformation", 8, "WARN ", "Cannot obtain limited token (session=3, err=1234)"},
        {"CreateEnvironmentBlock", 2, "WARN ", "CreateEnvironmentBlock(session=2) failed (err=1234)"}};
    useToken("SYSTEM@0");
    EXPECT_EQ(whileFailing("GetTokenInformation", 1, 1234, [] { return dispatch(); }), "");
    for (const auto& [call, use, level, line] : rows) {
        const std::string text = whileFailing(call, use, 1234, [] { return dispatch(); });
        EXPECT_TRUE(has(text, std::string("[") + level + "] SessionLauncher: " + line)) << line << text;
        EXPECT_EQ(has(text, "(session=1) failed (err=2)"), has(line, "session")) << text;
    }
}

TEST_F(SessionLauncherMachine, dispatchLeavesNothingOpen) {
    useToken("SYSTEM@0");
    EXPECT_TRUE(SessionLauncher::dispatchToSessions(productPath(RoleProcess::builtProgram()), TEXT("--no-autostart")));
    EXPECT_EQ(faults::openHandles() + faults::openAllocations(), 0U);
}
