// The program as a process: exit codes, standard output, debug output and the log file.
#include <gtest/gtest.h>

#include <regex>

#include "support/Files.h"
#include "support/Process.h"
#include "support/Text.h"

namespace {

const char* const kHelp =
    "Vellumd - sticky notes daemon.\n"
    "\n"
    "Options:\n"
    "  -f, --folder <dir>     Folder where note JSON files live.\n"
    "                         Default: %LOCALAPPDATA%\\Quorvane\\Ombrel\\Notes\n"
    "  --no-autostart         Skip writing the HKCU Run key.\n"
    "  -i <instancename>     Instance name (affects log folder).\n"
    "  /register              Register all-session startup/recovery\n"
    "                         and launch now (requires elevation).\n"
    "  /delete                Remove recovery task (requires elevation).\n"
    "  --log-level <level>    debug|info|warn|error (default: info)\n"
    "                         Log: %PROGRAMDATA%\\OmbrelService_Common[_<instance>]\\Logs\\\n"
    "  -h, --help             Show this help.\n";

class Roles : public testing::Test {
  protected:
    ProcessResult run(const WideString& arguments) {
        ProcessResult result = runVellumd(arguments, {{"PROGRAMDATA", utf8(programData.path())}});
        EXPECT_TRUE(result.finished) << utf8(arguments);
        return result;
    }
    std::string log() { return readAllFiles(programData.path()); }

    const TempFolder programData;
};

}  // namespace

TEST_F(Roles, contractQueryAnswersOnStandardOutput) {
    const ProcessResult result = run(TEXT("--applet-contract-version"));
    EXPECT_EQ(result.exitCode, 0U);
    EXPECT_EQ(result.output, "OMBREL_APPLET_NOTES_CONTRACT=2\r\n");
    EXPECT_EQ(result.debugOutput, "") << "no App exists for it";
}

TEST_F(Roles, contractQueryRefusesOtherArguments) {
    const WideString query = TEXT("--applet-contract-version");
    for (const WideString& arguments : {query + TEXT(" x"), TEXT("x ") + query, TEXT("--help ") + query,
                                        TEXT("-i ") + query, query + TEXT(" ") + query}) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 87U) << utf8(arguments);
        EXPECT_EQ(result.output, "") << utf8(arguments);
    }
    EXPECT_EQ(log(), "");
}

TEST_F(Roles, helpOnlyShowsAMessageBox) {
    for (const WCHAR* arguments :
         {TEXT("-h"), TEXT("--register --help"), TEXT("--help --register"), TEXT("--applet-queue /? x")}) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0U) << utf8(arguments);
        EXPECT_EQ(result.boxCaption, "Vellumd") << utf8(arguments);
        EXPECT_EQ(result.boxText, kHelp) << utf8(arguments);
        EXPECT_EQ(result.output, "");
    }
    EXPECT_EQ(log(), "");
}

TEST_F(Roles, everyErrorHasItsExitCodeAndMessage) {
    const char* const combined = "[ERROR] App: Task management and session dispatch actions cannot be combined\r\n";
    const char* const rejected = "AppletNotes: invalid applet queue arguments\n";
    const std::tuple<const WCHAR*, DWORD, const char*, bool> rows[] = {
        {TEXT("--launch-user-sessions"), 13, "[ERROR] SessionLauncher: ", true},
        {TEXT("--register --delete"), 12, combined, true},
        {TEXT("/delete --launch-user-sessions"), 12, combined, true},
        {TEXT("/register /delete --launch-user-sessions -i x"), 12, combined, true},
        {TEXT("--applet-queue -i applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10"), 15, "[ERROR] App: Applet ",
         false},
        {TEXT("--register --applet-queue"), 14, rejected, false},
        {TEXT("--applet-queue"), 14, rejected, false},
        {TEXT("--applet-recover -i x"), 14, rejected, false},
        {TEXT("--applet-recover unknown"), 14, rejected, false}};
    for (const auto& [arguments, exitCode, text, isLogged] : rows) {
        SCOPED_TRACE(utf8(arguments));
        const std::string before = log();
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_TRUE(has(result.debugOutput, text)) << result.debugOutput;
        EXPECT_EQ(has(log().substr(before.size()), text), isLogged);
        EXPECT_EQ(log().size() > before.size(), isLogged);
        EXPECT_EQ(result.output, "");
    }
}

// Windows refuses an ordinary user's process at once. Wine accepts every user, but its scheduler cannot be reached or
// creates no triggers.
TEST_F(Roles, failedTaskRolesLogTheStepAndItsHresult) {
    const std::tuple<const WCHAR*, DWORD, std::string, std::string> rows[] = {
        {TEXT("--register -i x"), 11, "/register failed: ", "Connect to Task Scheduler|Create logon trigger"},
        {TEXT("/delete -i x"), 10, "/delete failed: ", "ITaskService::Connect failed"}};
    const std::string refused = "Task management requires an elevated administrator or LocalSystem";
    for (const auto& [arguments, exitCode, failed, steps] : rows) {
        const std::regex line(R"(\[ERROR\] App: )" + failed + "(" + steps + "|" + refused + R"() \(hr=0x80)");
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_TRUE(std::regex_search(result.debugOutput, line)) << result.debugOutput;
        EXPECT_TRUE(std::regex_search(log(), line));
    }
}

TEST_F(Roles, unknownOptionsAreIgnoredAndTheLogIsComplete) {
    writeFile(programData / TEXT("file"),
              "in the way");  // a file where the notes folder belongs, so that the start fails early
    const WideString folder = TEXT(" --folder \"") + (programData / TEXT("file")) + TEXT("\"");
    const ProcessResult result = run(TEXT("-i blue --no-autostart --what \"a b\" --log-level loud") + folder);
    EXPECT_EQ(result.exitCode, 3U);
    EXPECT_TRUE(exists(programData / TEXT("OmbrelService_Common_blue\\Logs")));
    std::filesystem::remove(hostPath(programData / TEXT("file")));
    EXPECT_TRUE(has(log(), "[INFO ] App: Vellumd starting; pid="));
    EXPECT_TRUE(has(log(), "[INFO ] App: Shutting down\r\n"));
    EXPECT_EQ(result.debugOutput, log()) << "the debugger hears every line of the file";
}

TEST_F(Roles, logLevelFiltersWhatIsWritten) {
    writeFile(programData / TEXT("file"), "in the way");
    const WideString folder = TEXT(" -i x --folder \"") + (programData / TEXT("file")) + TEXT("\"");
    run(TEXT("--log-level error") + folder);
    EXPECT_FALSE(has(log(), "starting"));
    EXPECT_TRUE(has(log(), "[ERROR] App: Cannot create notes folder: "));
    run(TEXT("--log-level=DEBUG") + folder);
    EXPECT_TRUE(has(log(), "starting"));
}

TEST_F(Roles, appletRolesLeaveNoLogFile) {
    for (const WCHAR* arguments :
         {TEXT("--applet-recover"), TEXT("--applet-queue -i applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10")}) {
        const ProcessResult result = run(arguments);
        EXPECT_TRUE(has(result.debugOutput, "[INFO ] App: Vellumd starting; pid=")) << result.debugOutput;
        // Without a store there is nothing to recover. Under Wine the logon data is too incomplete to create a store.
        EXPECT_TRUE(result.exitCode == 15 || has(utf8(arguments), "recover")) << result.exitCode;
        EXPECT_TRUE(result.exitCode == 15 || result.exitCode == 0) << result.exitCode;
    }
    const ProcessResult quiet = run(TEXT("--applet-recover --log-level error"));
    EXPECT_FALSE(has(quiet.debugOutput, "starting")) << "the level counts there too";
    EXPECT_EQ(log(), "");
}
