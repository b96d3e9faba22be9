#include "dispatch/SessionPlan.h"

#include <gtest/gtest.h>

#include "common/Arguments.h"
#include "support/Text.h"

TEST(SessionPlan, onlyActiveConnectedAndDisconnectedSessionsAreServed) {
    for (const DWORD state : {0U, 1U, 4U})
        EXPECT_TRUE(SessionLauncher::isDispatchableSession(1, state)) << state;
    for (const DWORD state : {2U, 3U, 5U, 6U, 7U, 8U, 9U, 100U})
        EXPECT_FALSE(SessionLauncher::isDispatchableSession(1, state)) << state;
    EXPECT_FALSE(SessionLauncher::isDispatchableSession(0, 0));
    EXPECT_TRUE(SessionLauncher::isDispatchableSession(0xFFFFFFFF, 4));
}

TEST(SessionPlan, derivesCommandLineAndFolderFromThePath) {
    using SessionLauncher::commandLine;
    using SessionLauncher::workingFolder;
    const WideString program = TEXT("C:\\Program Files\\Vellumd.exe");
    EXPECT_EQ(utf8(commandLine(program, TEXT(""))), "\"C:\\Program Files\\Vellumd.exe\"");
    const WideString whole =
        commandLine(program, TEXT("-i ") + quoteArgument(TEXT("a \"b\\")) + TEXT(" --no-autostart"));
    const std::vector<WideString> split = splitCommandLine(whole);
    ASSERT_EQ(split.size(), 4U) << utf8(whole);
    EXPECT_EQ(utf8(split[0]), utf8(program));
    EXPECT_EQ(utf8(split[2]), "a \"b\\");
    EXPECT_EQ(utf8(workingFolder(program)), "C:\\Program Files\\");
    EXPECT_EQ(utf8(workingFolder(TEXT("C:/a/b.exe"))), "C:/a/");
    EXPECT_EQ(utf8(workingFolder(TEXT("b.exe"))), "");
}
