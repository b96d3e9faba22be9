// Waits on a clock that a test moves, mutexes between processes and sessions, and the exact order of a folder's
// changes.
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "common/Handles.h"
#include "machine/MachineFixture.h"
#include "support/Changes.h"
#include "support/Eventually.h"
#include "support/Files.h"

namespace fs = std::filesystem;
using namespace platform;

namespace {

class PlatformThreads : public MachineTest {
  protected:
    ~PlatformThreads() override { clock::useRealTime(); }
};

// Runs `body` in another process of the machine; its answer.
int inAnotherProcess(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The last error after taking the mutex.
int errorOfMutex(LPCWSTR name) {
    CreateMutexW(nullptr, TRUE, name);
    return static_cast<int>(GetLastError());
}

}  // namespace

TEST_F(PlatformThreads, limitPassesWhenTheTestMovesTheClock) {
    const WaitHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const HANDLE handle = event.get();
    const std::function<bool()> waits[] = {
        [&] { return WaitForSingleObject(handle, 5000) == WAIT_TIMEOUT; },
        [&] { return WaitForMultipleObjects(1, &handle, FALSE, 5000) == WAIT_TIMEOUT; },
        [] {
            Sleep(5000);
            return true;
        },
    };
    for (const auto& wait : waits) {
        clock::set(1'000'000);
        EXPECT_EQ(GetTickCount64(), 1'000'000U);
        std::atomic<int> state = 0;
        std::thread waiter([&] { state = wait() ? 2 : 1; });
        int moved = 0;
        for (; state == 0 && moved < 20; ++moved) {
            clock::advance(1000);
            eventually([&] { return state != 0; }, std::chrono::milliseconds(20));
        }
        waiter.join();
        EXPECT_EQ(state, 2);
        EXPECT_GE(moved, 5);
        EXPECT_EQ(GetTickCount64(), 1'000'000U + static_cast<unsigned>(moved) * 1000);
    }
    EXPECT_EQ(WaitForSingleObject(handle, 0), DWORD{WAIT_TIMEOUT}) << "no limit needs no clock";
}

TEST_F(MachineTest, mutexIsSharedBetweenTheProcessesOfASession) {
    const WCHAR* const name = TEXT("Local\\Vellumd.SingleInstance.v1.a:b\u00e9");
    const auto inSession2 = [&](const WCHAR* asked) {
        return inAnotherProcess([&] {
            setenv("VELLUM_TOKEN", "operator@2", 1);
            useMachine(folder());
            return errorOfMutex(asked);
        });
    };
    WaitHandle mine(CreateMutexW(nullptr, TRUE, name));
    const WaitHandle everybodys(CreateMutexW(nullptr, TRUE, TEXT("Global\\Vellumd")));
    EXPECT_EQ(inAnotherProcess([&] { return errorOfMutex(name); }), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(inAnotherProcess([&] {
                  const WaitHandle theirs(CreateMutexW(nullptr, TRUE, name));
                  return ReleaseMutex(theirs.get()) ? 0 : static_cast<int>(GetLastError() - 200);
              }),
              ERROR_NOT_OWNER - 200);
    EXPECT_EQ(inSession2(name), 0) << "another session, another mutex";
    EXPECT_EQ(inSession2(TEXT("Global\\Vellumd")), ERROR_ALREADY_EXISTS);
    mine.reset();
    EXPECT_EQ(inAnotherProcess([&] { return errorOfMutex(name); }), 0);
    EXPECT_EQ(inAnotherProcess([&] { return errorOfMutex(name); }), 0) << "it went with the process";
}

TEST_F(PlatformThreads, changesComeInTheOrderOfWindows) {
    const fs::path place = folder() / "drive_c/d", outside = folder() / "drive_c/outside";
    fs::create_directories(place / "below");
    const auto write = [&](const char* name) { std::ofstream(place / name) << "x"; };
    const struct {
        const char* title;
        std::function<void()> act;
        const char* expected;
    } rows[] = {
        {"create", [&] { write("new"); }, "+new =new"},
        {"create empty", [&] { std::ofstream(place / "e"); }, "+e"},
        {"write", [&] { std::ofstream(place / "f", std::ios::app) << "x"; }, "=f"},
        {"rename", [&] { fs::rename(place / "f", place / "g"); }, "<f >g"},
        {"rename that replaces", [&] { fs::rename(place / "g", place / "h"); }, "-h <g >h"},
        {"rename of case alone", [&] { fs::rename(place / "h", place / "H"); }, "<h >H"},
        {"move out", [&] { fs::rename(place / "i", outside); }, "-i"},
        {"move in", [&] { fs::rename(outside, place / "i"); }, "+i"},
        {"move in that replaces",
         [&] {
             std::ofstream(outside).flush();
             fs::rename(outside, place / "i");
         },
         "-i +i"},
        {"delete", [&] { fs::remove(place / "i"); }, "-i"},
        {"rename to a name that was free again", [&] { fs::rename(place / "H", place / "i"); }, "<H >i"},
        {"attributes", [&] { fs::permissions(place / "i", fs::perms::owner_read); }, ""},
        {"a folder", [&] { fs::create_directory(place / "sub"), fs::remove(place / "sub"); }, ""},
        {"below", [&] { write("below/x"); }, ""},
    };
    for (const char* name : {"f", "h", "i"})
        write(name);
    Changes changes(TEXT("C:\\d"));
    ASSERT_TRUE(changes.begin());
    write("start");
    changes.finish();
    int number = 0;
    for (const auto& row : rows) {
        const std::string end = "end" + std::to_string(number++);
        changes.readUntil((std::ofstream(place / ("s" + end)), "+s" + end));
        row.act();
        std::ofstream(place / end).flush();
        const std::string told = changes.readUntil("+" + end);
        EXPECT_EQ(told, std::string(row.expected) + (*row.expected == 0 ? "+" : " +") + end) << row.title;
    }
}

TEST_F(PlatformThreads, filterChoosesWhatIsTold) {
    fs::create_directory(folder() / "drive_c/d");
    const struct {
        DWORD filter;
        const char* expected;
    } rows[] = {{FILE_NOTIFY_CHANGE_FILE_NAME, "+f -f"}, {FILE_NOTIFY_CHANGE_LAST_WRITE, "=f"}};
    for (const auto& row : rows) {
        Changes changes(TEXT("C:\\d"));
        ASSERT_TRUE(changes.begin(4096, row.filter));
        ASSERT_TRUE(CancelIoEx(changes.directory.get(), &changes.overlapped));
        std::ofstream(folder() / "drive_c/d/f") << "x";
        fs::remove(folder() / "drive_c/d/f");
        ASSERT_TRUE(changes.begin(4096, row.filter));
        EXPECT_EQ(changes.finish(), row.expected);
    }
}

TEST_F(PlatformThreads, moreThanTheFirstBufferHoldsIsLostOnce) {
    const fs::path place = folder() / "drive_c/d";
    fs::create_directory(place);
    Changes changes(TEXT("C:\\d"));
    ASSERT_TRUE(changes.begin(64));
    ASSERT_TRUE(CancelIoEx(changes.directory.get(), &changes.overlapped));
    // A record is 12 bytes and the name, filled up to 4: three of 20 and one of 4 less do not reach 64 bytes.
    for (const char* name : {"abcd", "efgh", "ijkl"})
        std::ofstream(place / name).flush();
    ASSERT_TRUE(changes.begin(64));
    EXPECT_EQ(changes.finish(), "+abcd +efgh +ijkl");
    for (const char* name : {"1234", "5678", "9abc", "def0"})
        std::ofstream(place / name).flush();
    ASSERT_TRUE(changes.begin());
    EXPECT_EQ(changes.finish(), "lost") << "whatever the later buffer takes";
    std::ofstream(place / "next").flush();
    ASSERT_TRUE(changes.begin());
    EXPECT_EQ(changes.finish(), "+next");
}

TEST_F(PlatformThreads, deletedFolderEndsTheRead) {
    const fs::path place = folder() / "drive_c/d";
    fs::create_directory(place);
    Changes pending(TEXT("C:\\d")), collecting(TEXT("C:\\d"));
    ASSERT_TRUE(pending.begin() && collecting.begin());
    std::ofstream(place / "a").flush();
    EXPECT_EQ(pending.finish(), "+a");
    EXPECT_EQ(collecting.finish(), "+a");
    fs::remove(place / "a");
    EXPECT_EQ(pending.readUntil("-a"), "-a");
    ASSERT_TRUE(pending.begin());
    fs::remove(place);
    EXPECT_EQ(pending.finish(), "error 5") << "the read that waits";
    EXPECT_FALSE(pending.begin());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(collecting.readUntil("error"), "-a error 5") << "what came before is not lost";
}

TEST_F(PlatformThreads, folderIsNoFileAndAFileNoFolder) {
    fs::create_directory(folder() / "drive_c/d");
    writeFile(TEXT("C:\\f"), "x");
    Changes file(TEXT("C:\\f")), directory(TEXT("C:\\d"));
    EXPECT_FALSE(file.begin());
    DWORD moved = 0;
    EXPECT_FALSE(WriteFile(directory.directory.get(), "x", 1, &moved, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    directory.overlapped.hEvent = directory.directory.get();
    EXPECT_FALSE(directory.begin()) << "a folder is no event";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}
