// The life of App with the platform failing under it.
#include <windows.h>

#include <algorithm>

#include <objbase.h>

#include "app/App.h"
#include "app/ExitCode.h"
#include "machine/MachineFixture.h"
#include "support/Text.h"

using namespace platform;

namespace {

int runApp(const std::vector<std::string>& arguments) {
    setCommandLine(arguments);
    App app;
    const int exitCode = app.initialize(nullptr, WideString());
    app.shutdown();
    return exitCode;
}

}  // namespace

TEST_F(MachineTest, startEntersAnApartmentAndInitialisesTheControls) {
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

TEST_F(MachineTest, lineThatCannotBeSplitHasNoOptions) {
    faults::arm({"CommandLineToArgvW", 1, faults::Action::Fail, 8});
    EXPECT_EQ(runApp({"Vellumd", "--register", "--delete"}), kEnterMessageLoop);
}

TEST_F(MachineTest, helpBoxCarriesItsFlagAndStopsTheScan) {
    EXPECT_EQ(runApp({"Vellumd", "--applet-queue", "--register", "/?", "--delete"}), kSuccess);
    const std::vector<MessageBox> boxes = notices::takeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].type, static_cast<UINT>(MB_ICONINFORMATION));
    EXPECT_EQ(faults::uses("CreateFileW"), 0U) << "no log";
}

TEST_F(MachineTest, everyRoleEndsInADocumentedWayWhateverFails) {
    const struct {
        std::vector<std::string> arguments;
        std::vector<int> exitCodes;  // the first is the one without a fault
    } rows[] = {
        {{"Vellumd", "--help"}, {0, kEnterMessageLoop, 1}},
        // An option that is lost with the command line leaves a plain start.
        {{"Vellumd", "--register", "--delete"}, {12, kEnterMessageLoop, 1}},
        {{"Vellumd", "--applet-recover", "x"}, {14, kEnterMessageLoop, 1}},
    };
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
