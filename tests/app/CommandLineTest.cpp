#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include "common/Arguments.h"
#include "support/Text.h"

namespace {

CommandLineOptions scan(const WideString& arguments) {
    return scanOptions(splitCommandLine(TEXT("p ") + arguments));
}

// Everything the options hold, in a form that a table can state.
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

constexpr const WCHAR* kQueue = TEXT("applet-00000002-000000000003A1F7-01DC2F6A5B3C4D10");

}  // namespace

TEST(CommandLine, scansTheOptionsInTheirOrder) {
    struct Row {
        const WCHAR* arguments;
        const char* options;
    };
    const Row rows[] = {
        {TEXT(""), ""},
        {TEXT("-i blue"), "i=blue"},
        {TEXT("-i blue -i green"), "i=green"},
        {TEXT("-i --register"), "i=--register"},
        {TEXT("-i -i"), "i=-i"},
        {TEXT("-i"), "unknown"},
        {TEXT("-iblue"), "unknown"},
        {TEXT("-I blue"), "unknown"},
        {TEXT("-i \"\""), ""},
        {TEXT("-f C:\\n"), "f=C:\\n"},
        {TEXT("--folder C:\\n"), "f=C:\\n"},
        {TEXT("/folder C:\\n"), "f=C:\\n"},
        {TEXT("--folder=C:\\n"), "f=C:\\n"},
        {TEXT("\"--folder=C:\\a b\""), "f=C:\\a b"},
        {TEXT("-f a --folder="), ""},
        {TEXT("-f"), "unknown"},
        {TEXT("--folder"), "unknown"},
        {TEXT("/folder"), "unknown"},
        {TEXT("/folder=x"), "unknown"},
        {TEXT("--Folder=x"), "unknown"},
        {TEXT("/register"), "register"},
        {TEXT("--register"), "register"},
        {TEXT("/REGISTER"), "unknown"},
        {TEXT("/delete --delete"), "delete"},
        {TEXT("--launch-user-sessions"), "launch"},
        {TEXT("/launch-user-sessions"), "unknown"},
        {TEXT("--applet-queue -i x"), "i=x queue"},
        {TEXT("--applet-recover"), "recover"},
        {TEXT("--no-autostart"), "noauto"},
        {TEXT("--log-level debug"), "level=0"},
        {TEXT("--log-level=WARNING"), "level=2"},
        {TEXT("--log-level error --log-level loud"), "level=3"},
        {TEXT("--log-level=error --log-level="), "level=3"},
        {TEXT("--log-level"), "unknown"},
        {TEXT("--log-level -h"), ""},
        {TEXT("--help --register"), "help"},
        {TEXT("-f x -h --delete"), "f=x help"},
        {TEXT("/?"), "help"},
        {TEXT("-?"), "unknown"},
        {TEXT("--HELP"), "unknown"},
        {TEXT("--APPLET-CONTRACT-VERSION"), "unknown"},
        {TEXT("note.json --no-autostart"), "noauto unknown"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(shown(scan(row.arguments)), row.options) << utf8(row.arguments);
    EXPECT_EQ(shown(scanOptions({})), "") << "a command line that could not be split";
    EXPECT_EQ(shown(scanOptions({TEXT("--register")})), "") << "the program's name is no option";
}

TEST(CommandLine, checksTheArgumentsOfTheAppletRoles) {
    const WideString queue = TEXT("--applet-queue -i ") + WideString(kQueue);
    struct Row {
        WideString arguments;
        bool rejected;
    };
    const Row rows[] = {
        {queue, false},
        {queue + TEXT(" --no-autostart --log-level debug"), false},
        {queue + TEXT(" --folder="), false},
        {queue + TEXT(" --folder=x"), true},
        {queue + TEXT(" -f x"), true},
        {queue + TEXT(" x"), true},
        {queue + TEXT(" --register"), true},
        {queue + TEXT(" --delete"), true},
        {queue + TEXT(" --launch-user-sessions"), true},
        {queue + TEXT(" --applet-recover"), true},
        {queue + TEXT("0"), true},
        {TEXT("--applet-queue"), true},
        {TEXT("--applet-queue -i"), true},
        {TEXT("--applet-queue -i x"), true},
        {TEXT("--applet-recover"), false},
        {TEXT("--applet-recover -i \"\""), false},
        {TEXT("--applet-recover -i x"), true},
        {TEXT("--applet-recover -i ") + WideString(kQueue), true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(appletArgumentsRejected(scan(row.arguments)), row.rejected) << utf8(row.arguments);
}

TEST(CommandLine, forwardsInstanceAndFolderQuoted) {
    struct Row {
        const WCHAR *arguments, *forwarded;
    };
    const Row rows[] = {
        {TEXT("--log-level debug"), TEXT("--no-autostart")},
        {TEXT("-i blue --no-autostart"), TEXT("-i \"blue\" --no-autostart")},
        {TEXT("-f \"C:\\a b\\\\\" -i \"a \\\" b\""), TEXT("-i \"a \\\" b\" --folder \"C:\\a b\\\\\" --no-autostart")},
    };
    for (const Row& row : rows) {
        const CommandLineOptions options = scan(row.arguments);
        EXPECT_EQ(utf8(forwardedArguments(options)), utf8(row.forwarded));
        const CommandLineOptions arrived = scan(forwardedArguments(options));
        EXPECT_EQ(utf8(arrived.instanceName), utf8(options.instanceName));
        EXPECT_EQ(utf8(arrived.folderOption), utf8(options.folderOption));
    }
    EXPECT_EQ(utf8(taskName(TEXT(""))), "Ombrel Agent Display Notes");
    EXPECT_EQ(utf8(taskName(TEXT("a\\b"))), "Ombrel Agent Display Notes - a\\b");
}
