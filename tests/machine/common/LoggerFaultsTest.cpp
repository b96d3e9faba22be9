// The log on a test machine: file name, clock, and each call failing in turn.

#include "common/Identity.h"
#include "common/Logger.h"
#include "common/UtcTime.h"
#include "machine/support/MachineFixture.h"

using namespace platform;

namespace {

using LoggerFaults = MachineTest;

}  // namespace

TEST_F(LoggerFaults, logNeverStopsTheProgram) {
    const fs::path logs = folder() / "drive_c/ProgramData/OmbrelService_Common";
    bool opened = false;
    forEachFailingCall(
        [&] {
            opened = logOpen(LogLevel::Info, nullptr);
            logWrite(LogLevel::Info, TEXT("App"), TEXT("line %d"), 1);
            logClose();
        },
        [&](bool fired) {
            const std::string text = opened ? readFile(logPath()) : std::string();
            EXPECT_TRUE(text.empty() || text.ends_with("\r\n")) << text;
            EXPECT_TRUE(fired || text.ends_with("App: line 1\r\n")) << text;
            // The debugger gets the line in every case.
            ASSERT_EQ(notices::takeDebugOutput().size(), 1U);
            fs::remove_all(logs);
        });
}

TEST_F(LoggerFaults, failedRotationKeepsEveryWrittenLine) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const WideString path = logPath(), older = path + TEXT(".1");
    logClose();
    const auto body = [&] {
        writeFile(path, "");
        fs::resize_file(hostPath(path), 1048570);
        writeFile(older, "old");
        logOpen(LogLevel::Info, nullptr);
        for (const WCHAR* line : {TEXT("full"), TEXT("next")})
            logWrite(LogLevel::Info, TEXT("App"), line);
        logClose();
    };
    const auto check = [&](bool) {
        const std::size_t now = readFile(path).size(), before = readFile(older).size();
        EXPECT_GE(now + before, 1048570U) << "the filled file is there under one of its names";
        notices::takeDebugOutput();
    };
    forEachFailingCall(body, check);
}

TEST_F(LoggerFaults, messageCutByTheFormatterEndsInDots) {
    const WideString format(1999, TEXT('m'));
    for (const std::size_t written : {5U, 1995U, 1996U, 1998U}) {
        ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
        // The first formatted text of a line is the timestamp, the second the message. The fault stops the message
        // after `written` units.
        faults::arm({"vsnwprintf", 2, faults::Action::Short, static_cast<DWORD>(written)});
        logWrite(LogLevel::Info, TEXT("App"), format.c_str());
        faults::clear();
        const std::string mark = written + 4 < 2000 ? "..." : "";
        EXPECT_TRUE(readFile(logPath()).ends_with("[INFO ] App: " + std::string(written, 'm') + mark + "\r\n"))
            << written;
        logClose();
    }
    faults::arm({"vsnwprintf", 1, faults::Action::Short, 5});
    EXPECT_EQ(utf8(newGuidText()), "") << "no text is better than half an identifier";
}

TEST_F(LoggerFaults, lineIsOneWriteAndDroppedLinesAreNotFormatted) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 0U);
    logWrite(LogLevel::Info, TEXT("App"), TEXT("x"));
    EXPECT_EQ(faults::uses("WriteFile"), 1U) << "one line, one write";
    logWrite(LogLevel::Debug, TEXT("App"), TEXT("dropped"));
    EXPECT_EQ(faults::uses("GetSystemTime"), 1U) << "a dropped line formats nothing";
    logClose();
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
    logClose();
    EXPECT_EQ(faults::uses("FlushFileBuffers"), 1U);
}

TEST_F(LoggerFaults, logOfASessionWithoutAUserIsNamedUnknown) {
    describe("[environment]\nPROGRAMDATA = C:\\ProgramData\n[session 2]\n");
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_TRUE(has(utf8(logPath()), "\\Vellumd_0_unknown_")) << utf8(logPath());
    logClose();
}

TEST_F(LoggerFaults, fileNameHasTheLocalDayOfItsOpeningAndLinesHaveUtcTime) {
    setenv("TZ", "EAST-9", 1);
    tzset();
    platform::clock::set(1773410340007);  // 2026-03-13T13:59:00.007Z, which is 22:59 in the zone EAST
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_TRUE(has(utf8(logPath()), "_20260313.log")) << utf8(logPath());
    platform::clock::advance(3660000);
    logWrite(LogLevel::Info, TEXT("App"), TEXT("the same file, the next local day"));
    EXPECT_EQ(readFile(logPath()), "2026-03-13T15:00:00.007Z [INFO ] App: the same file, the next local day\r\n");
    EXPECT_EQ(utf8(nowUtcText()), "2026-03-13T15:00:00Z");
    logClose();
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    EXPECT_TRUE(has(utf8(logPath()), "_20260314.log")) << "a new start, a new day";
    logClose();
    platform::clock::useRealTime();
    unsetenv("TZ");
    tzset();
}

TEST_F(LoggerFaults, unknownSessionOrUserGetsADefault) {
    for (const auto& [call, name] :
         {std::pair{"ProcessIdToSessionId", "\\Vellumd_0_"}, {"WTSQuerySessionInformationW", "\\Vellumd_1_unknown_"}}) {
        EXPECT_TRUE(whileFailing(call, 1, ERROR_ACCESS_DENIED, [] { return logOpen(LogLevel::Info, nullptr); }));
        EXPECT_TRUE(has(utf8(logPath()), name)) << utf8(logPath());
        logClose();
    }
}
