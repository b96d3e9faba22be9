#include "machine/support/MachineFixture.h"
#include "support/Process.h"

using namespace platform;

using FaultGate = MachineTest;

TEST_F(FaultGate, parsesFaultsAndRefusesOtherTexts) {
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

TEST_F(FaultGate, successLeavesAMeaninglessLastError) {
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CreateDirectoryW(TEXT("C:\\1"), nullptr));
    EXPECT_NE(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_NE(GetLastError(), DWORD{ERROR_SUCCESS});
}

TEST_F(FaultGate, environmentInjectsFaultsIntoAProcess) {
    for (const auto& [faults, exitCode] :
         {std::pair{"CoInitializeEx:1=fail", 1U}, {"CreateFileW:1=kill", 0xffffffffU}, {"nonsense", 2U}})
        EXPECT_EQ(runVellumd(TEXT(""), {{"VELLUM_MACHINE", folder().string()}, {"VELLUM_FAULTS", faults}}).exitCode,
                  exitCode);
}

TEST_F(FaultGate, closedAndWrongHandlesGiveErrorsNotCrashes) {
    const HANDLE file = CreateFileW(TEXT("C:\\f"), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_TRUE(CloseHandle(file));
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, TEXT("K"), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr), 0);
    for (const HANDLE wrong :
         {file, static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(key)}) {
        LARGE_INTEGER size;
        EXPECT_EQ(errorAfter(GetFileSizeEx(wrong, &size)), ERROR_INVALID_HANDLE);
    }
    EXPECT_FALSE(CloseHandle(file));
    EXPECT_EQ(RegQueryValueExW(key, TEXT("v"), nullptr, nullptr, nullptr, nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}
