#include <windows.h>
#include <wtsapi32.h>

#include "common/Folders.h"
#include "common/Identity.h"
#include "common/Logger.h"
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

TEST_F(MachineTest, newMachineHasOneUserInOneSession) {
    EXPECT_EQ(utf8(currentUserName()), "operator");
    EXPECT_EQ(variable(TEXT("PROGRAMDATA")), "C:\\ProgramData");
    EXPECT_EQ(utf8(defaultNotesFolder()), "C:\\Users\\operator\\AppData\\Local\\Quorvane\\Ombrel\\Notes");
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_NE(utf8(logPath()).find("\\Vellumd_1_operator_"), std::string::npos);
    logClose();
    EXPECT_TRUE(std::filesystem::is_directory(folder() / "drive_c/ProgramData/OmbrelService_Common/Logs"));
}

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

TEST_F(MachineTest, dateInTheNameStaysWhenTheDayChanges) {
    platform::clock::set(1773446340000);  // 2026-03-13T23:59:00Z
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_NE(utf8(logPath()).find("_20260313.log"), std::string::npos) << utf8(logPath());
    platform::clock::advance(120000);
    logWrite(LogLevel::Info, TEXT("App"), TEXT("next day"));
    EXPECT_EQ(readFile(logPath()), "2026-03-14T00:01:00.000Z [INFO ] App: next day\r\n");
    logClose();
    platform::clock::useRealTime();
}

TEST_F(MachineTest, processesOfOneMachineMeet) {
    const Environment here = {{"VELLUM_MACHINE", folder().string()}};
    EXPECT_EQ(runVellumd(TEXT(""), here).exitCode, 0U);
    const Environment system = {{"VELLUM_MACHINE", folder().string()}, {"VELLUM_TOKEN", "SYSTEM@0"}};
    EXPECT_EQ(runVellumd(TEXT(""), system).exitCode, 0U);
    const auto logs = folder() / "drive_c/ProgramData/OmbrelService_Common/Logs";
    std::string names;
    for (const auto& entry : std::filesystem::directory_iterator(logs))
        names += entry.path().filename().string() + " ";
    EXPECT_NE(names.find("Vellumd_1_operator_"), std::string::npos) << names;
    EXPECT_NE(names.find("Vellumd_0_unknown_"), std::string::npos) << names;
}

TEST_F(MachineTest, badDescriptionIsRefusedWithItsLine) {
    std::ofstream(folder() / "machine.txt") << "[session 1]\nuser operator\n";
    const ProcessResult result = runVellumd(TEXT(""), {{"VELLUM_MACHINE", folder().string()}});
    EXPECT_EQ(result.exitCode, 2U);
    EXPECT_NE(result.debugOutput.find("line 2 is neither"), std::string::npos) << result.debugOutput;
}
