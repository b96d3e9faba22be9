#include "common/Identity.h"
#include "common/Logger.h"
#include "machine/support/MachineFixture.h"
#include "support/Process.h"

namespace {

using MachineDescription = MachineTest;

std::string variable(const WCHAR* name) {
    WCHAR value[64];
    return utf8(WideView(value, GetEnvironmentVariableW(name, value, 64)));
}

}  // namespace

TEST_F(MachineDescription, descriptionSetsUsersSessionsAndEnvironment) {
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

TEST_F(MachineDescription, badDescriptionIsRefusedWithAReason) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
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
        {"[session 1]\n", "operator@1x", "the form is user@session"}};
    for (const auto& [text, token, reason] : rows) {
        std::ofstream(folder() / "machine.txt") << text;
        Environment environment = {{"VELLUM_MACHINE", folder().string()}};
        if (token != nullptr) environment.push_back({"VELLUM_TOKEN", token});
        const ProcessResult result = runVellumd(TEXT(""), environment);
        EXPECT_EQ(result.exitCode, 2U) << text;
        EXPECT_TRUE(has(result.debugOutput, reason)) << result.debugOutput;
    }
}
