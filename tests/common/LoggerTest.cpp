#include "common/Logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <thread>

#include "common/Handles.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/Text.h"

namespace {

std::vector<std::string> linesOf(const std::string& bytes) {
    std::vector<std::string> lines;
    std::istringstream all(bytes);
    for (std::string line; std::getline(all, line);)
        lines.push_back(line.ends_with('\r') && !all.eof() ? line.substr(0, line.size() - 1) : line + "<no line end>");
    return lines;
}

// Each test is its own process with its own log folder.
class Logger : public testing::Test {
  protected:
    ~Logger() override { logClose(); }

    std::string logged() { return readFile(logPath()); }
    // The last line without its timestamp.
    std::string lastLine() {
        const std::vector<std::string> lines = linesOf(logged());
        return lines.empty() ? std::string() : lines.back().substr(std::min<std::size_t>(25, lines.back().size()));
    }
    WideString message(std::size_t units) { return WideString(units, TEXT('m')); }

    const TempFolder programData;
    const EnvironmentScope scope{TEXT("PROGRAMDATA"), programData.path().c_str()};
};

using LoggerThreads = Logger;

}  // namespace

TEST_F(Logger, logFileIsNamedAfterSessionUserAndDay) {
    EXPECT_EQ(utf8(logPath()), "");
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const std::string path = utf8(logPath());
    const std::string folder = utf8(programData.path()) + "\\OmbrelService_Common\\Logs\\";
    EXPECT_EQ(path.substr(0, folder.size()), folder);
    EXPECT_TRUE(std::regex_match(path.substr(folder.size()), std::regex(R"(Vellumd_\d+_[^\\]+_20\d{6}\.log)"))) << path;
    logClose();
    ASSERT_TRUE(logOpen(LogLevel::Info, TEXT("blue")));
    EXPECT_TRUE(has(utf8(logPath()), "\\OmbrelService_Common_blue\\Logs\\Vellumd_"));
}

TEST_F(Logger, lineHasTheExactFormat) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("Vellumd starting; pid=%lu"), DWORD(4312));
    const std::string line = logged();
    EXPECT_TRUE(std::regex_match(
        line, std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \[INFO \] App: Vellumd starting; pid=4312\r\n)")))
        << line;
    logWrite(LogLevel::Warn, TEXT("Watcher"), TEXT("%ls \u2605 %zu"), TEXT("\u00E9"), std::size_t(5));
    EXPECT_EQ(lastLine(), "[WARN ] Watcher: \xC3\xA9 \xE2\x98\x85 5");
    logWrite(LogLevel::Error, nullptr, nullptr);
    EXPECT_EQ(lastLine(), "[ERROR] -: ");
    logWrite(LogLevel::Info, TEXT("App"), TEXT("\xD83D\xDE00"));
    EXPECT_EQ(lastLine(), "[INFO ] App: \xF0\x9F\x98\x80");
    logWrite(static_cast<LogLevel>(7), TEXT("App"), TEXT("x"));
    EXPECT_EQ(lastLine(), "[?    ] App: x");
}

TEST_F(Logger, levelsBelowTheThresholdAreDropped) {
    ASSERT_TRUE(logOpen(LogLevel::Warn, nullptr));
    logWrite(LogLevel::Debug, TEXT("App"), TEXT("d"));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("i"));
    EXPECT_EQ(logged(), "");
    logWrite(LogLevel::Warn, TEXT("App"), TEXT("w"));
    EXPECT_EQ(lastLine(), "[WARN ] App: w");
    logSetLevel(LogLevel::Debug);
    EXPECT_EQ(logGetLevel(), LogLevel::Debug);
    logWrite(LogLevel::Debug, TEXT("App"), TEXT("d"));
    EXPECT_EQ(lastLine(), "[DEBUG] App: d");
}

TEST_F(Logger, messageIsCutAt1999UnitsWithoutAnEllipsis) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const std::string head = "[INFO ] App: ";
    for (const std::size_t units : {1998U, 1999U, 2000U, 5000U}) {
        logWrite(LogLevel::Info, TEXT("App"), TEXT("%ls"), message(units).c_str());
        EXPECT_EQ(lastLine(), head + std::string(std::min<std::size_t>(units, 1999), 'm')) << units;
    }
    std::string stars;
    for (int i = 0; i < 1999; ++i)
        stars += "\xE2\x98\x85";
    logWrite(LogLevel::Info, TEXT("App"), TEXT("%ls"), WideString(2500, 0x2605).c_str());
    EXPECT_TRUE(lastLine() == head + stars) << "three bytes for each unit";
    // The cut splits a surrogate pair. The lone half becomes U+FFFD.
    logWrite(LogLevel::Info, TEXT("App"), TEXT("%ls\xD83D\xDE00"), message(1998).c_str());
    EXPECT_EQ(lastLine(), head + std::string(1998, 'm') + "\xEF\xBF\xBD");
}

TEST_F(Logger, lineThatIsTooLongLosesItsEnd) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, WideString(300, TEXT('c')).c_str(), TEXT("%ls"), message(3000).c_str());
    const std::string line = logged();
    EXPECT_EQ(line.size(), 2199U);
    EXPECT_EQ(line.back(), 'm');
}

TEST_F(Logger, rotatesAfterTheLineThatFillsTheFile) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("x"));
    const std::size_t lineBytes = logged().size();
    const WideString path = logPath(), older = path + TEXT(".1");
    logClose();
    writeFile(older, "an older generation");
    writeFile(path, std::string(1048576 - lineBytes - 1, 'f'));

    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("1"));
    EXPECT_EQ(readFile(older), "an older generation") << "one byte is missing";
    logClose();
    writeFile(path, std::string(1048576 - lineBytes, 'f'));
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("2"));
    EXPECT_EQ(readFile(older).size(), 1048576U);
    EXPECT_EQ(readFile(path), "");
    logWrite(LogLevel::Info, TEXT("App"), TEXT("3"));
    EXPECT_EQ(lastLine(), "[INFO ] App: 3");
    EXPECT_EQ(readFile(older).size(), 1048576U);
}

TEST_F(Logger, worksWithoutAFile) {
    for (const std::size_t tooLong : {0U, 257U, 260U}) {  // 0: the variable is unset
        const WideString value = TEXT("C:\\") + WideString(tooLong, TEXT('x'));
        const EnvironmentScope changed(TEXT("PROGRAMDATA"), tooLong == 0 ? nullptr : value.c_str());
        EXPECT_FALSE(logOpen(LogLevel::Debug, nullptr)) << tooLong;
        EXPECT_EQ(utf8(logPath()), "") << tooLong;
        logWrite(LogLevel::Info, TEXT("App"), TEXT("nobody reads this"));
        logClose();
    }
    writeFile(programData / TEXT("file"), "in the way");
    const EnvironmentScope changed(TEXT("PROGRAMDATA"), (programData / TEXT("file")).c_str());
    EXPECT_FALSE(logOpen(LogLevel::Info, nullptr)) << "a folder that cannot be made";
    EXPECT_NE(utf8(logPath()), "");
    logWrite(LogLevel::Info, TEXT("App"), TEXT("nobody reads this"));
    EXPECT_EQ(readFile(programData / TEXT("file")), "in the way");
}

TEST_F(Logger, secondOpenChangesOnlyLevelAndInstance) {
    ASSERT_TRUE(logOpen(LogLevel::Error, nullptr));
    const WideString path = logPath();
    EXPECT_TRUE(logOpen(LogLevel::Debug, TEXT("green")));
    EXPECT_EQ(utf8(logPath()), utf8(path));
    EXPECT_EQ(logGetLevel(), LogLevel::Debug);
    logClose();
    EXPECT_TRUE(logOpen(LogLevel::Debug, nullptr));
    EXPECT_TRUE(has(utf8(logPath()), "OmbrelService_Common_green"));
}

TEST_F(Logger, readersMayOpenTheLogButASecondWriterMayNot) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const FileHandle writer(CreateFileW(logPath().c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_EQ(errorAfter(writer), ERROR_SHARING_VIOLATION);
    const FileHandle reader(CreateFileW(logPath().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(reader);
}

TEST_F(Logger, secondProcessContinuesWithoutAFile) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    logWrite(LogLevel::Info, TEXT("App"), TEXT("mine"));
    const std::string before = logged();
    const Environment same = {{"PROGRAMDATA", utf8(programData.path())}};
    EXPECT_EQ(runVellumd(TEXT("--register --delete"), same).exitCode, 12U);
    EXPECT_EQ(logged(), before);
    logClose();
    EXPECT_EQ(runVellumd(TEXT("--register --delete"), same).exitCode, 12U);
    EXPECT_GT(logged().size(), before.size()) << "it appends once the file is free";
    EXPECT_EQ(logged().substr(0, before.size()), before);
}

TEST_F(LoggerThreads, linesOfTwoThreadsNeverMix) {
    constexpr int kLines = 10000;
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    const auto writeLines = [](const WCHAR* component) {
        for (int i = 0; i < kLines; ++i)
            logWrite(LogLevel::Info, component, TEXT("line %d of many"), i);
    };
    std::thread other(writeLines, TEXT("Watcher"));
    writeLines(TEXT("App"));
    other.join();

    // The lines fill more than one file. The two files together hold all lines, in order for each thread.
    std::vector<std::string> lines = linesOf(readFile(logPath() + TEXT(".1")));
    const std::vector<std::string> newer = linesOf(logged());
    lines.insert(lines.end(), newer.begin(), newer.end());
    ASSERT_EQ(lines.size(), 2U * kLines);
    int nextApp = 0, nextWatcher = 0;
    for (const std::string& line : lines) {
        const bool isApp = line.size() > 33 && line.compare(33, 4, "App:") == 0;
        int& next = isApp ? nextApp : nextWatcher;
        const std::string expected =
            std::string(isApp ? "App: line " : "Watcher: line ") + std::to_string(next++) + " of many";
        ASSERT_EQ(line.substr(std::min<std::size_t>(33, line.size())), expected);
    }
}

TEST_F(LoggerThreads, fileMayCloseWhileAnotherThreadWrites) {
    ASSERT_TRUE(logOpen(LogLevel::Info, nullptr));
    std::thread other([] {
        for (int i = 0; i < 2000; ++i)
            logWrite(LogLevel::Info, TEXT("Watcher"), TEXT("%ls"), logPath().c_str());
    });
    for (int i = 0; i < 200; ++i) {
        logClose();
        EXPECT_TRUE(logOpen(LogLevel::Info, nullptr));
    }
    other.join();
    for (const std::string& line : linesOf(logged()))
        ASSERT_TRUE(line.ends_with(".log")) << line;
}

TEST(LogLevelWords, levelsAreReadInAnyCase) {
    struct Row {
        const WCHAR* word;
        int level;  // -1: not a level
    };
    const Row rows[] = {{TEXT("debug"), 0}, {TEXT("Info"), 1}, {TEXT("WARN"), 2},      {TEXT("warning"), 2},
                        {TEXT("eRRor"), 3}, {TEXT("err"), -1}, {TEXT(""), -1},         {TEXT("debug "), -1},
                        {TEXT("0"), -1},    {nullptr, -1},     {TEXT("\u0131nfo"), -1}};
    for (const Row& row : rows) {
        LogLevel level = static_cast<LogLevel>(-1);
        EXPECT_EQ(logParseLevel(row.word, &level), row.level >= 0);
        EXPECT_EQ(static_cast<int>(level), row.level);
    }
    EXPECT_FALSE(logParseLevel(TEXT("info"), nullptr));
}
