// The registration of the scheduled task: the stored task, each failing step, who may register, and the action's
// command line.
#include "dispatch/TaskSched.h"

#include <objbase.h>

#include "common/ComHandles.h"
#include "machine/support/MachineFixture.h"
#include "machine/support/RoleProcess.h"

using namespace platform;

namespace {

const WideString kName = TEXT("Ombrel Agent Display Notes");
const std::string kRegistered =
    "[INFO ] TaskSched: Registered all-session recovery task 'Ombrel Agent Display Notes'\r\n";
const char* const kDenied = "Task management requires an elevated administrator or LocalSystem (hr=0x80070005)";

const char* const kWholeTask =
    "author = Quorvane Ombrel\n"
    "description = Starts and recovers Vellumd independently in every logged-on user session.\n"
    "security descriptor = D:P(A;;GA;;;SY)(A;;GA;;;BA)\n"
    "\n[principal]\nuser = S-1-5-18\nlogon type = 5 (service account)\nrun level = 1 (highest)\n"
    "\n[settings]\nenabled = yes\nstart when available = yes\n"
    "disallow start on batteries = no\nstop when going on batteries = no\n"
    "run only if idle = no\nrun only if network available = no\nallow demand start = yes\n"
    "execution time limit = PT2M\nmultiple instances = 2 (ignore new)\n"
    "restart interval = PT1M\nrestart count = 3\n"
    "\n[trigger LogonTrigger]\ntype = 9 (logon)\ndelay = PT10S\n"
    "\n[trigger BootTrigger]\ntype = 8 (boot)\ndelay = PT30S\n"
    "\n[trigger UnlockTrigger]\ntype = 11 (session state change)\nstate change = 8 (unlock)\ndelay = PT5S\n"
    "\n[trigger RemoteConnectTrigger]\ntype = 11 (session state change)\nstate change = 3 (remote connect)\n"
    "delay = PT5S\n"
    "\n[trigger ConsoleConnectTrigger]\ntype = 11 (session state change)\nstate change = 1 (console connect)\n"
    "delay = PT5S\n"
    "\n[trigger RecoveryTrigger]\ntype = 1 (time)\nstart = 2026-03-14T09:26:53Z\nrepetition interval = PT5M\n"
    "stop at duration end = no\n"
    "\n[action]\n"
    "path = C:\\Program Files\\V\\Vellumd.exe\n"
    "arguments = --launch-user-sessions -i \"a b\" --no-autostart\n"
    "working directory = C:\\Program Files\\V\\\n";

class TaskRegistration : public MachineTest {
  protected:
    TaskRegistration() {
        describe(
            "[environment]\nPROGRAMDATA = C:\\ProgramData\n"
            "[user ann]\nprofile = C:\\Users\\ann\nadministrator = yes\n[user bob]\nprofile = C:\\Users\\bob\n"
            "[session 1]\nuser = ann\nelevated = yes\n[session 2]\nuser = bob\n");
        useToken("ann@1 high");
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    }
    ~TaskRegistration() override {
        clock::useRealTime();
        faults::clear();
        endProcesses();
        EXPECT_EQ(leftOpen() + faults::openAllocations(), 0U);
        CoUninitialize();
    }

    bool enlist(bool runNow = false) {
        error = TEXT("of before");
        return TaskSched::registerRecoveryTask(kName, TEXT("C:\\Program Files\\V\\Vellumd.exe"),
                                               TEXT("--launch-user-sessions -i \"a b\" --no-autostart"), runNow,
                                               &error);
    }
    bool remove() {
        error = TEXT("of before");
        return TaskSched::deleteRecoveryTask(kName, &error);
    }
    fs::path file(const std::string& suffix = "") const {
        return folder() / "tasks" / ("Ombrel Agent Display Notes" + suffix + ".txt");
    }
    void keepTask(const std::string& text) {
        fs::create_directories(folder() / "tasks");
        std::ofstream(file()) << text;
    }
    std::size_t filesOfTasks() const {
        const fs::path tasks = folder() / "tasks";
        return fs::exists(tasks) ? static_cast<std::size_t>(std::distance(fs::directory_iterator(tasks), {})) : 0;
    }

    static std::size_t leftOpen() { return faults::openInterfaces() + faults::openStrings() + faults::openVariants(); }

    WideString error;
};

struct Step {
    const char* name;
    const char* call;
    std::vector<unsigned> uses = {1};
};
const Step kSteps[] = {
    // clang-format off
    {"Create Task Scheduler service", "CoCreateInstance"}, {"Connect to Task Scheduler", "ITaskService::Connect"},
    {"Get task folder", "ITaskService::GetFolder"}, {"Create task definition", "ITaskService::NewTask"},
    {"Get registration info", "ITaskDefinition::get_RegistrationInfo"}, {"Set author", "IRegistrationInfo::put_Author"},
    {"Set description", "IRegistrationInfo::put_Description"}, {"Get principal", "ITaskDefinition::get_Principal"},
    {"Set SYSTEM principal", "IPrincipal::put_UserId"}, {"Set service-account logon", "IPrincipal::put_LogonType"},
    {"Set dispatcher run level", "IPrincipal::put_RunLevel"}, {"Get settings", "ITaskDefinition::get_Settings"},
    {"Enable task", "ITaskSettings::put_Enabled"},
    {"Enable missed-start recovery", "ITaskSettings::put_StartWhenAvailable"},
    {"Allow battery start", "ITaskSettings::put_DisallowStartIfOnBatteries"},
    {"Allow battery operation", "ITaskSettings::put_StopIfGoingOnBatteries"},
    {"Disable idle requirement", "ITaskSettings::put_RunOnlyIfIdle"},
    {"Disable network requirement", "ITaskSettings::put_RunOnlyIfNetworkAvailable"},
    {"Allow immediate dispatch", "ITaskSettings::put_AllowDemandStart"},
    {"Limit dispatcher duration", "ITaskSettings::put_ExecutionTimeLimit"},
    {"Suppress overlapping dispatchers", "ITaskSettings::put_MultipleInstances"},
    {"Set failure retry interval", "ITaskSettings::put_RestartInterval"},
    {"Set failure retry count", "ITaskSettings::put_RestartCount"}, {"Get triggers", "ITaskDefinition::get_Triggers"},
    {"Create logon trigger", "ITriggerCollection::Create"}, {"Get logon trigger", "ITrigger::QueryInterface"},
    {"Name logon trigger", "ITrigger::put_Id"}, {"Set logon delay", "ILogonTrigger::put_Delay"},
    {"Create boot trigger", "ITriggerCollection::Create", {2}}, {"Get boot trigger", "ITrigger::QueryInterface", {2}},
    {"Name boot trigger", "ITrigger::put_Id", {2}}, {"Set boot delay", "IBootTrigger::put_Delay"},
    {"Create session trigger", "ITriggerCollection::Create", {3, 4, 5}},
    {"Get session trigger", "ITrigger::QueryInterface", {3, 4, 5}},
    {"Name session trigger", "ITrigger::put_Id", {3, 4, 5}},
    {"Set session event", "ISessionStateChangeTrigger::put_StateChange", {1, 2, 3}},
    {"Set session delay", "ISessionStateChangeTrigger::put_Delay", {1, 2, 3}},
    {"Create recovery trigger", "ITriggerCollection::Create", {6}}, {"Name recovery trigger", "ITrigger::put_Id", {6}},
    {"Set recovery start", "ITrigger::put_StartBoundary"}, {"Get repetition pattern", "ITrigger::get_Repetition"},
    {"Set recovery interval", "IRepetitionPattern::put_Interval"},
    {"Keep recovery independent of UI lifetime", "IRepetitionPattern::put_StopAtDurationEnd"},
    {"Get actions", "ITaskDefinition::get_Actions"}, {"Create executable action", "IActionCollection::Create"},
    {"Get executable action", "IAction::QueryInterface"}, {"Set executable path", "IExecAction::put_Path"},
    {"Set dispatcher arguments", "IExecAction::put_Arguments"},
    {"Set working directory", "IExecAction::put_WorkingDirectory"},
    {"Register recovery task", "ITaskFolder::RegisterTaskDefinition"},
    // clang-format on
};

// The table is in step order. The error must name the first failing step, so make all later steps fail too.
void failAllBehind(std::size_t step) {
    for (std::size_t later = step + 1; later < std::size(kSteps); ++later)
        failCall(kSteps[later].call, kSteps[later].uses.front(), ERROR_ACCESS_DENIED);
}

}  // namespace

TEST_F(TaskRegistration, storesEveryValueOfTheTask) {
    clock::set(1773480413789);
    ASSERT_TRUE(enlist()) << utf8(error);
    EXPECT_EQ(error, TEXT(""));
    EXPECT_EQ(contentOf(file()), kWholeTask);
    EXPECT_EQ(log(), kRegistered);
    clock::advance(1000);
    ASSERT_TRUE(enlist(true));
    EXPECT_EQ(log(),
              kRegistered + "[INFO ] TaskSched: Immediate dispatch requested for 'Ombrel Agent Display Notes'\r\n");
    EXPECT_TRUE(has(contentOf(file()), "start = 2026-03-14T09:26:54Z\n")) << "begins anew";
    EXPECT_EQ(filesOfTasks(), 1U);
}

TEST_F(TaskRegistration, failingStepIsNamedAndLeavesTheTaskUnchanged) {
    static_assert(std::size(kSteps) == 50);
    for (std::size_t step = 0; step < std::size(kSteps); ++step)
        for (const unsigned use : kSteps[step].uses) {
            for (const std::string before : {"", "as it was"}) {
                SCOPED_TRACE(kSteps[step].name + std::to_string(use));
                fs::remove(file());
                if (!before.empty()) keepTask(before);
                faults::clear();
                failCall(kSteps[step].call, use, 0x80041309);
                if (use == kSteps[step].uses.front()) failAllBehind(step);
                EXPECT_FALSE(enlist(true));
                EXPECT_EQ(utf8(error), std::string(kSteps[step].name) + " (hr=0x80041309)");
                EXPECT_EQ(contentOf(file()), before);
                EXPECT_EQ(fs::exists(file()), !before.empty());
                EXPECT_EQ(leftOpen(), 0U);
            }
        }
}

TEST_F(TaskRegistration, failingCallLeavesTheOldTaskOrTheNewOne) {
    bool succeeded = false, raised = false;
    unsigned raises = 0;
    clock::set(1773480413789);
    keepTask("old");
    const auto body = [&] {
        raised = false;
        try {
            succeeded = enlist();
        } catch (const ComError& failure) {
            raised = true;
            EXPECT_EQ(failure.hr, E_OUTOFMEMORY);
        }
    };
    const auto check = [&](bool fired) {
        raises += raised;
        EXPECT_TRUE(fired || succeeded);
        const bool isNew = succeeded && !raised;
        EXPECT_EQ(contentOf(file()), isNew ? kWholeTask : "old") << utf8(error);
        EXPECT_TRUE(isNew || raised || has(utf8(error), " (hr=0x8007000")) << utf8(error);
        EXPECT_EQ(filesOfTasks(), 1U) << "no draft stays";
        EXPECT_EQ(leftOpen(), 0U);
        keepTask("old");
    };
    EXPECT_GT(forEachFailingCall(body, check), 60U);
    EXPECT_EQ(raises, 2U) << "the user and the security descriptor, which belong to no step";
}

TEST_F(TaskRegistration, outOfMemoryInTheLastCallAbortsTheProcess) {
    ASSERT_TRUE(enlist());
    const std::string use = std::to_string(faults::uses("SysAllocString"));
    fs::remove(file());
    RoleProcess role({"--register"},
                     {{"VELLUM_TOKEN", "ann@1 high"}, {"VELLUM_FAULTS", "SysAllocString:" + use + "=fail(14)"}});
    EXPECT_EQ(role.exitCode(), 1000 + SIGABRT);
    EXPECT_FALSE(fs::exists(file()));
}

TEST_F(TaskRegistration, failedFirstRunIsAFailureButKeepsTheTask) {
    failCall("IRegisteredTask::Run", 1, 0x8004130F);
    EXPECT_FALSE(enlist(true));
    EXPECT_EQ(utf8(error), "Task registered, but immediate dispatch request failed (hr=0x8004130f)");
    EXPECT_TRUE(fs::exists(file()));
}

TEST_F(TaskRegistration, failedDeletionNamesItsStep) {
    ASSERT_TRUE(enlist());
    for (const auto& [call, text] : {std::pair{"CoCreateInstance", "CoCreateInstance(TaskScheduler)"},
                                     {"ITaskService::Connect", "ITaskService::Connect"},
                                     {"ITaskService::GetFolder", "GetFolder(root)"},
                                     {"ITaskFolder::DeleteTask", "DeleteTask"}}) {
        EXPECT_FALSE(whileFailing(call, 1, ERROR_ACCESS_DENIED, [&] { return remove(); }));
        EXPECT_EQ(utf8(error), text + std::string(" failed (hr=0x80070005)"));
        EXPECT_TRUE(fs::exists(file()));
    }
}

TEST_F(TaskRegistration, deletingTwiceSucceeds) {
    ASSERT_TRUE(enlist());
    for (int times = 0; times < 2; ++times) {
        log();
        EXPECT_TRUE(remove());
        EXPECT_EQ(error, TEXT(""));
        EXPECT_FALSE(fs::exists(file()));
        EXPECT_EQ(log(), "[INFO ] TaskSched: Deleted logon task 'Ombrel Agent Display Notes'\r\n");
    }
}

TEST_F(TaskRegistration, onlyElevatedAdministratorsAndTheSystemManageTasks) {
    for (const auto& [token, may] : {std::pair{"bob@2", false},
                                     {"bob@2 high", false},
                                     {"ann@1", false},
                                     {"ann@1 high", true},
                                     {"SYSTEM@0", true}}) {
        SCOPED_TRACE(token);
        keepTask("before");
        useToken(token);
        EXPECT_EQ(TaskSched::requireElevation(nullptr), may);
        EXPECT_EQ(enlist(), may);
        EXPECT_EQ(contentOf(file()) == "before", !may);
        EXPECT_EQ(utf8(error), may ? "" : kDenied);
        EXPECT_EQ(remove(), may);
        EXPECT_EQ(utf8(error), may ? "" : kDenied);
        EXPECT_EQ(fs::exists(file()), !may);
    }
}

TEST_F(TaskRegistration, failedElevationCheckReturnsItsError) {
    EXPECT_FALSE(whileFailing("AllocateAndInitializeSid", 1, ERROR_NOT_ENOUGH_MEMORY, [&] { return enlist(); }));
    EXPECT_EQ(utf8(error), "AllocateAndInitializeSid failed (hr=0x80070008)");
    EXPECT_FALSE(whileFailing("CheckTokenMembership", 1, ERROR_NO_IMPERSONATION_TOKEN, [&] { return remove(); }));
    EXPECT_EQ(utf8(error), "Task management requires an elevated administrator or LocalSystem (hr=0x8007051d)");
}

TEST_F(TaskRegistration, rolesExitWithTheirCodesAndLogLines) {
    const auto run = [&](RoleArguments arguments, const char* token, int exitCode, const std::string& line) {
        RoleProcess role(std::move(arguments), {{"VELLUM_TOKEN", token}});
        EXPECT_EQ(role.exitCode(), exitCode);
        EXPECT_TRUE(has(role.said(), line + "\r\n")) << role.said();
    };
    run({"--register", "-i", "a b"}, "ann@1", 11, std::string("[ERROR] App: /register failed: ") + kDenied);
    run({"--delete", "-i", "a b"}, "bob@2", 10, std::string("[ERROR] App: /delete failed: ") + kDenied);
    EXPECT_EQ(filesOfTasks(), 0U);
    run({"/register", "-i", "a b", "--folder", "C:\\My Notes\\"}, "ann@1 high", 0,
        "[INFO ] App: /register completed for task 'Ombrel Agent Display Notes - a b'");
    const std::string text = contentOf(file(" - a b"));
    EXPECT_TRUE(
        has(text, "\narguments = --launch-user-sessions -i \"a b\" --folder \"C:\\My Notes\\\\\" --no-autostart\n"))
        << text;
    EXPECT_TRUE(has(text, "\npath = " + utf8(productPath(RoleProcess::builtProgram())) + "\n")) << text;
    run({"/delete"}, "ann@1 high", 0, "[INFO ] App: /delete completed for task 'Ombrel Agent Display Notes'");
    EXPECT_EQ(filesOfTasks(), 1U) << "another instance's task is another task";
    run({"/delete", "-i", "a b"}, "SYSTEM@0", 0,
        "[INFO ] TaskSched: Deleted logon task 'Ombrel Agent Display Notes - a b'");
    EXPECT_EQ(filesOfTasks(), 0U);
}
