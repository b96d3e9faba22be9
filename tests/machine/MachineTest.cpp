#include <windows.h>

#include "common/Identity.h"
#include "common/Logger.h"
#include "common/UtcTime.h"
#include "machine/MachineFixture.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/Text.h"

namespace {

std::string variable(const WCHAR* name) {
    WCHAR value[64];
    return utf8(WideView(value, GetEnvironmentVariableW(name, value, 64)));
}

}  // namespace

TEST_F(MachineTest, descriptionDecidesUsersSessionsAndEnvironment) {
    describe(
        "# two sessions, nobody on the first\n"
        "[session 2]\n"
        "[session 3]\n"
        "user = ann\n"
        "[user ann]\n"
        "profile = C:\\Users\\ann\n"
        "[environment]\n"
        "Color = green\n");
    EXPECT_EQ(utf8(currentUserName()), "ann");
    EXPECT_EQ(variable(TEXT("COLOR")), "green");
    DWORD session = 0;
    ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session));
    EXPECT_EQ(session, 3U);
    EXPECT_EQ(variable(TEXT("PROGRAMDATA")), "");
    EXPECT_FALSE(logOpen(LogLevel::Info, nullptr)) << "no PROGRAMDATA, no log";
    EXPECT_EQ(utf8(logPath()), "");
}

TEST_F(MachineTest, sessionWithoutAUserGivesALogOfTheUnknown) {
    describe("[environment]\nPROGRAMDATA = C:\\ProgramData\n[session 2]\n");
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_NE(utf8(logPath()).find("\\Vellumd_0_unknown_"), std::string::npos) << utf8(logPath());
    logClose();
}

TEST_F(MachineTest, nameCarriesTheLocalDateForGoodAndLinesTheUtcTime) {
    setenv("TZ", "EAST-9", 1);
    tzset();
    platform::clock::set(1773410340007);  // 2026-03-13T13:59:00.007Z, where it is 22:59 in the east
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_NE(utf8(logPath()).find("_20260313.log"), std::string::npos) << utf8(logPath());
    platform::clock::advance(3660000);
    logWrite(LogLevel::Info, TEXT("App"), TEXT("the same file, the next local day"));
    EXPECT_EQ(readFile(logPath()), "2026-03-13T15:00:00.007Z [INFO ] App: the same file, the next local day\r\n");
    EXPECT_EQ(utf8(nowUtcText()), "2026-03-13T15:00:00Z");
    logClose();
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_NE(utf8(logPath()).find("_20260314.log"), std::string::npos) << "a new start, a new day";
    logClose();
    platform::clock::useRealTime();
    unsetenv("TZ");
    tzset();
}

TEST_F(MachineTest, sessionThatCannotBeAskedIsTheFirstAndItsUserUnknown) {
    for (const char* call : {"ProcessIdToSessionId", "WTSQuerySessionInformationW"}) {
        platform::faults::arm({call, 1, platform::faults::Action::Fail, 5});
        ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
        const bool isSession = std::string_view(call) == "ProcessIdToSessionId";
        EXPECT_NE(utf8(logPath()).find(isSession ? "\\Vellumd_0_" : "\\Vellumd_1_unknown_"), std::string::npos) << call;
        logClose();
        platform::faults::clear();
    }
}

TEST_F(MachineTest, badDescriptionIsRefusedWithItsReason) {
    const struct {
        const char *text, *token, *reason;
    } rows[] = {
        {"[session 1]\nuser operator\n", nullptr, "line 2 is neither"},
        {"[sesion 1]\nuser = operator\n", nullptr, "knows no section \"sesion\""},
        {"[session two]\nuser = operator\n", nullptr, "a session has a number"},
        {"[session 2]\nusr = operator\n", nullptr, "knows no \"usr\""},
        {"[user ann]\nprofile = D:\\ann\n", nullptr, "not on drive C:"},
        {"[session 2]\nstate = asleep\n", nullptr, "knows no state \"asleep\""},
        {"[session 2]\nlogon = 12x\n", nullptr, "logon has a number, not \"12x\""},
        {"[session 2]\nelevated = maybe\n", nullptr, "elevated is yes or no"},
        {"[session 1]\n", "operator@1 hihg", "knows no \"hihg\""},
        {"[session 1]\n", "operator", "the form is user@session"},
        {"[session 1]\n", "operator@", "the form is user@session"},
        {"[session 1]\n", "operator@1x", "the form is user@session"},
    };
    for (const auto& row : rows) {
        std::ofstream(folder() / "machine.txt") << row.text;
        Environment environment = {{"VELLUM_MACHINE", folder().string()}};
        if (row.token != nullptr) environment.push_back({"VELLUM_TOKEN", row.token});
        const ProcessResult result = runVellumd(TEXT(""), environment);
        EXPECT_EQ(result.exitCode, 2U) << row.text;
        EXPECT_NE(result.debugOutput.find(row.reason), std::string::npos) << result.debugOutput;
    }
}
