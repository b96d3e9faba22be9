// What vellumctl reads in log files that the log itself has written and still has open.
#include "ctl/LogFiles.h"

#include <gtest/gtest.h>

#include "ctl/LogTime.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

class LogFiles : public testing::Test {
  protected:
    ~LogFiles() override { logClose(); }

    // The entries of a file, without their times.
    static std::vector<std::string> entriesOf(const ctl::LogFile& file) {
        std::vector<std::string> entries;
        EXPECT_EQ(ctl::readLogFile(file, [&](const ctl::LogEntry& entry) { entries.push_back(entry.text); }), 0U);
        return entries;
    }

    const TempFolder programData;
    const EnvironmentScope scope{TEXT("PROGRAMDATA"), programData.path().c_str()};
};

}  // namespace

TEST_F(LogFiles, areReadWhileTheLogHasThemOpen) {
    const std::string before = *ctl::readSince("1m");
    ASSERT_TRUE(logOpen(LogLevel::Debug, TEXT("my_blue")));
    logWrite(LogLevel::Warn, TEXT("App"), TEXT("two\nlines: here"));
    logWrite(LogLevel::Debug, nullptr, TEXT(""));
    const std::vector<ctl::LogFile> files = ctl::findLogFiles();
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(utf8(files[0].path), utf8(logPath()));
    EXPECT_EQ(utf8(files[0].instance), "my_blue");
    EXPECT_NE(files[0].session, 0U);
    EXPECT_EQ(entriesOf(files[0]), (std::vector<std::string>{"[WARN ] App: two\nlines: here", "[DEBUG] -: "}));
    std::vector<ctl::LogEntry> read;
    ctl::readLogFile(files[0], [&](const ctl::LogEntry& entry) { read.push_back(entry); });
    EXPECT_EQ(read[0].message(), "two\nlines: here");
    EXPECT_EQ(read[0].level, LogLevel::Warn);
    EXPECT_GT(read[0].time, before);
}

TEST_F(LogFiles, areThoseWithTheNameOfALog) {
    const WideString folder = programData / TEXT("OmbrelService_Common\\Logs\\");
    std::filesystem::create_directories(hostPath(folder));
    for (const char* name : {"Vellumd_12_ann_smith_20260102.log", "Vellumd_12_ann_smith_20260102.log.1",
                             "Vellumd_3__20260102.log", "Vellumd_x_ann_20260102.log", "Vellumd_1_20260102.log",
                             "Vellumd_1_ann_20260102.txt", "Vellumd.log", "other.log"})
        writeFile(folder + wide(name), "");
    std::string found;
    for (const ctl::LogFile& file : ctl::findLogFiles())
        found += std::to_string(file.session) + " " + utf8(file.user) + (file.isFull ? " full" : "") + "; ";
    EXPECT_EQ(found, "12 ann_smith full; 12 ann_smith; 3 ; ");
}

TEST_F(LogFiles, keepWhatHasNoTimeAndWhatIsHalfWritten) {
    const WideString path = programData / TEXT("a.log");
    writeFile(path,
              "no time\r\n2026-01-02T09:00:00.000Z [INFO ] App: one\r\n\r\n2026-01-02T09:00:00.000Z (INFO ) App: x\r\n"
              "2026-01-02T09:00:00.000Z [LOUD ] App: y\n2026-01-02T09:00:00.001Z [ERROR] App: half");
    EXPECT_EQ(entriesOf({{}, 1, {}, path}),
              (std::vector<std::string>{"no time",
                                        "[INFO ] App: one\n\n2026-01-02T09:00:00.000Z (INFO ) App: x\n"
                                        "2026-01-02T09:00:00.000Z [LOUD ] App: y",
                                        "[ERROR] App: half"}));
    EXPECT_NE(ctl::readLogFile({{}, 1, {}, programData / TEXT("none.log")}, [](const auto&) {}), 0U);
}
