#include <windows.h>

#include <chrono>
#include <thread>

#include "common/Folders.h"
#include "common/Paths.h"
#include "machine/MachineFixture.h"
#include "support/Eventually.h"
#include "support/Files.h"
#include "support/Process.h"
#include "support/Text.h"

using namespace platform;

TEST_F(MachineTest, faultTextsAreRead) {
    std::vector<faults::Fault> parsed;
    EXPECT_TRUE(
        faults::parse("CreateFileW:2=fail(32);*:every=delay(7);WriteFile:1=short(0);*:40=kill;X:1=fail", parsed));
    std::string read;
    for (const faults::Fault& fault : parsed)
        read += fault.call + ":" + std::to_string(fault.use) + "=" + "fsdkh"[static_cast<int>(fault.action)] + " " +
                std::to_string(fault.value) + ";";
    EXPECT_EQ(read, "CreateFileW:2=f 32;*:0=d 7;WriteFile:1=s 0;*:40=k 31;X:1=f 31;");
    for (const char* bad : {"x", "x:1", "x=fail", ":1=fail", "x:0=fail", "x:-1=fail", "x:1=burn", "x:1=short",
                            "x:1=fail(", "x:1=fail()", "x:1=fail(a)", "x:1=fail;;", "x:1=fail(0)"})
        EXPECT_FALSE(faults::parse(bad, parsed)) << bad;
}

TEST_F(MachineTest, faultHitsTheNamedUseAlone) {
    faults::arm({"CreateDirectoryW", 2, faults::Action::Fail, 1234});
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\1"), nullptr));
    EXPECT_FALSE(faults::fired());
    EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\2"), nullptr));
    EXPECT_EQ(GetLastError(), 1234U);
    EXPECT_TRUE(faults::fired());
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\2"), nullptr));
    EXPECT_EQ(faults::uses("CreateDirectoryW"), 3U);
}

TEST_F(MachineTest, gateCountsWhatItCanHit) {
    SetLastError(77);
    GetCurrentProcessId();
    EXPECT_EQ(GetLastError(), 77U) << "a call that cannot fail leaves the last error";
    faults::arm({"*", 1, faults::Action::Fail, 5});
    GetCurrentProcessId();
    EXPECT_FALSE(CreateDirectoryW(TEXT("C:\\1"), nullptr)) << "the first that can fail";
    faults::clear();
    EXPECT_EQ(faults::uses("CreateDirectoryW"), 0U);
    faults::arm({"*", 1, faults::Action::Short, 0});
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\1"), nullptr)) << "it moves no bytes";
    faults::clear();
    faults::arm({"GetCurrentProcessId", 1, faults::Action::Delay, 50});
    const auto start = std::chrono::steady_clock::now();
    GetCurrentProcessId();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(MachineTest, heldCallGoesOnWhenItIsDisarmed) {
    faults::arm({"CreateDirectoryW", 1, faults::Action::Hold});
    faults::arm({"DeleteFileW", 1, faults::Action::Fail, 1234});
    std::thread caller([] { CreateDirectoryW(TEXT("C:\\held"), nullptr); });
    EXPECT_TRUE(eventually([] { return faults::fired(); }));
    EXPECT_FALSE(exists(TEXT("C:\\held")));
    faults::disarm("CreateDirectoryW");
    caller.join();
    EXPECT_TRUE(exists(TEXT("C:\\held")));
    EXPECT_FALSE(DeleteFileW(TEXT("C:\\f")));
    EXPECT_EQ(GetLastError(), 1234U) << "another call's fault stays armed";
}

// A failed reading of the command line would start the child without its arguments.
TEST_F(MachineTest, childsCommandLineIsReadByNoCall) {
    WideString commandLine = TEXT("Vellumd --no-autostart");
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child = {};
    ASSERT_TRUE(CreateProcessW(joinPath(parentPath(executablePath()), TEXT("Vellumd")).c_str(), commandLine.data(),
                               nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr, &startup, &child));
    EXPECT_EQ(faults::uses("CommandLineToArgvW") + faults::uses("LocalFree"), 0U);
    EXPECT_TRUE(TerminateProcess(child.hProcess, 5));
    EXPECT_TRUE(CloseHandle(child.hThread) && CloseHandle(child.hProcess));
}

TEST_F(MachineTest, successLeavesALastErrorThatMeansNothing) {
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\1"), nullptr));
    EXPECT_NE(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_NE(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(MachineTest, environmentBreaksAProcess) {
    const auto run = [this](const char* faults) {
        return runVellumd(TEXT(""), {{"VELLUM_MACHINE", folder().string()}, {"VELLUM_FAULTS", faults}});
    };
    EXPECT_EQ(run("CoInitializeEx:1=fail").exitCode, 1U);
    EXPECT_EQ(run("CreateFileW:1=kill").exitCode, 0xffffffffU) << "killed, it has no exit code";
    EXPECT_EQ(run("nonsense").exitCode, 2U);
}

TEST_F(MachineTest, closedAndForeignHandlesAreErrorsNotCrashes) {
    const HANDLE file = CreateFileW(TEXT("C:\\f"), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_TRUE(CloseHandle(file));
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, TEXT("K"), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr), 0);
    for (const HANDLE wrong :
         {file, static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(key)}) {
        LARGE_INTEGER size;
        EXPECT_FALSE(GetFileSizeEx(wrong, &size));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    }
    EXPECT_FALSE(CloseHandle(file));
    EXPECT_EQ(RegQueryValueExW(key, TEXT("v"), nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}
