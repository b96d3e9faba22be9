#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include "common/Arguments.h"
#include "support/Text.h"

namespace {

CommandLineOptions scan(const std::string& arguments) {
    return scanOptions(splitCommandLine(wide("p " + arguments)));
}

// All options as one text, so that a table can hold the expected value.
std::string shown(const CommandLineOptions& options) {
    std::string text;
    const auto flag = [&text](bool on, const char* name) {
        if (on) text += std::string(" ") + name;
    };
    if (!options.instanceName.empty()) text += " i=" + utf8(options.instanceName);
    if (!options.folderOption.empty()) text += " f=" + utf8(options.folderOption);
    if (options.logLevel != LogLevel::Info) text += " level=" + std::to_string(static_cast<int>(options.logLevel));
    flag(options.registerTask, "register");
    flag(options.deleteTask, "delete");
    flag(options.launchSessions, "launch");
    flag(options.appletQueue, "queue");
    flag(options.appletRecover, "recover");
    flag(options.noAutostart, "noauto");
    flag(options.unknownSeen, "unknown");
    flag(options.helpRequested, "help");
    return text.empty() ? "" : text.substr(1);
}

}  // namespace

TEST(CommandLine, scansEveryOption) {
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"", {"", "-i \"\"", "-f a --folder=", "--log-level -h", "--log-level info"}},
        {"unknown",
         {"-i", "-iblue", "-I blue", "-f", "--folder", "/folder", "/folder=x", "--Folder=x", "/REGISTER",
          "/launch-user-sessions", "--log-level", "-?", "--HELP", "--APPLET-CONTRACT-VERSION"}},
        {"i=blue", {"-i blue", "-i green -i blue"}},
        {"i=--register", {"-i --register"}},
        {"i=-i", {"-i -i"}},
        {"f=C:\\n", {"-f C:\\n", "--folder C:\\n", "/folder C:\\n", "--folder=C:\\n"}},
        {"f=C:\\a b", {"\"--folder=C:\\a b\""}},
        {"register", {"/register", "--register"}},
        {"delete", {"/delete", "--delete"}},
        {"launch", {"--launch-user-sessions"}},
        {"i=x queue", {"--applet-queue -i x"}},
        {"recover", {"--applet-recover"}},
        {"noauto", {"--no-autostart"}},
        {"noauto unknown", {"note.json --no-autostart"}},
        {"level=0", {"--log-level debug"}},
        {"level=2", {"--log-level=WARNING"}},
        {"level=3", {"--log-level error --log-level loud", "--log-level=error --log-level="}},
        {"help", {"--help --register", "/?", "-h"}},
        {"f=x help", {"-f x -h --delete"}}};
    for (const auto& [options, lines] : rows)
        for (const char* line : lines)
            EXPECT_EQ(shown(scan(line)), options) << line;
    EXPECT_EQ(shown(scanOptions({})), "") << "a command line that could not be split";
    EXPECT_EQ(shown(scanOptions({TEXT("--register")})), "") << "the program's name is no option";
}

TEST(CommandLine, checksTheArgumentsOfTheAppletRoles) {
    const std::string name = "applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10", queue = "--applet-queue -i " + name;
    for (const std::string& fitting : {queue, queue + " --no-autostart --log-level debug", queue + " --folder=",
                                       std::string("--applet-recover"), std::string("--applet-recover -i \"\"")})
        EXPECT_FALSE(appletArgumentsRejected(scan(fitting))) << fitting;
    for (const char* more : {"0", " --folder=x", " -f x", " x", " --register", " --delete", " --launch-user-sessions",
                             " --applet-recover"})
        EXPECT_TRUE(appletArgumentsRejected(scan(queue + more))) << more;
    for (const char* rejected : {"--applet-queue", "--applet-queue -i", "--applet-queue -i x", "--applet-recover -i x"})
        EXPECT_TRUE(appletArgumentsRejected(scan(rejected))) << rejected;
    EXPECT_TRUE(appletArgumentsRejected(scan("--applet-recover -i " + name)));
}

TEST(CommandLine, forwardsInstanceAndFolderQuoted) {
    const std::pair<const char*, const char*> rows[] = {
        {"--log-level debug", "--no-autostart"},
        {"-i blue --no-autostart", "-i \"blue\" --no-autostart"},
        {"-f \"C:\\a b\\\\\" -i \"a \\\" b\"", "-i \"a \\\" b\" --folder \"C:\\a b\\\\\" --no-autostart"}};
    for (const auto& [arguments, forwarded] : rows) {
        const CommandLineOptions options = scan(arguments);
        EXPECT_EQ(utf8(forwardedArguments(options)), forwarded);
        const CommandLineOptions arrived = scan(utf8(forwardedArguments(options)));
        EXPECT_EQ(utf8(arrived.instanceName), utf8(options.instanceName));
        EXPECT_EQ(utf8(arrived.folderOption), utf8(options.folderOption));
    }
    EXPECT_EQ(utf8(taskName(TEXT(""))), "Ombrel Agent Display Notes");
    EXPECT_EQ(utf8(taskName(TEXT("a\\b"))), "Ombrel Agent Display Notes - a\\b");
}
