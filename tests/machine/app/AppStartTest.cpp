// The start and end of App while platform calls fail.

#include <objbase.h>

#include "app/App.h"
#include "app/ExitCode.h"
#include "machine/support/MachineFixture.h"

using namespace platform;

namespace {

using AppStart = MachineTest;

int runApp(const std::vector<std::string>& arguments) {
    setCommandLine(arguments);
    App app;
    const int exitCode = app.initialize(nullptr, WideString());
    app.shutdown();
    return exitCode;
}

}  // namespace

TEST_F(AppStart, startInitialisesComAndTheControls) {
    setCommandLine({"Vellumd", "--register", "--delete"});
    App app;
    app.initialize(nullptr, WideString());
    EXPECT_EQ(CoInitializeEx(nullptr, 0), RPC_E_CHANGED_MODE) << "it is an apartment of its own";
    EXPECT_EQ(faults::uses("InitCommonControlsEx"), 1U);
    const std::vector<std::u16string> lines = notices::takeDebugOutput();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(utf8(lines[0]).ends_with("App: Vellumd starting; pid=" + std::to_string(getpid()) + "\r\n"));
    app.shutdown();
    EXPECT_EQ(faults::openApartments(), 0U);
}

TEST_F(AppStart, commandLineThatCannotBeSplitHasNoOptions) {
    failCall("CommandLineToArgvW", 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(runApp({"Vellumd", "--register", "--delete"}), kEnterMessageLoop);
}

TEST_F(AppStart, helpShowsABoxAndStopsReadingOptions) {
    EXPECT_EQ(runApp({"Vellumd", "--applet-queue", "--register", "/?", "--delete"}), kSuccess);
    const std::vector<MessageBox> boxes = notices::takeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].type, static_cast<UINT>(MB_ICONINFORMATION));
    EXPECT_EQ(faults::uses("CreateFileW"), 0U) << "no log";
}

TEST_F(AppStart, everyRoleEndsWithADocumentedCodeWhicheverCallFails) {
    const struct {
        std::vector<std::string> arguments;
        std::vector<int> exitCodes;
    } rows[] = {{{"Vellumd", "--help"}, {0, kEnterMessageLoop, 1}},
                // If the command line cannot be read, its options are lost and the program starts normally.
                {{"Vellumd", "--register", "--delete"}, {12, kEnterMessageLoop, 1}},
                {{"Vellumd", "--applet-recover", "x"}, {14, kEnterMessageLoop, 1}}};
    for (const auto& row : rows) {
        int exitCode = 0;
        forEachFailingCall([&] { exitCode = runApp(row.arguments); },
                           [&](bool fired) {
                               EXPECT_EQ(std::ranges::count(row.exitCodes, exitCode), 1) << exitCode;
                               EXPECT_TRUE(fired || exitCode == row.exitCodes.front());
                               EXPECT_EQ(faults::openApartments(), 0U);
                               notices::takeDebugOutput();
                           });
    }
}
