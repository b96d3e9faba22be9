// Named mutexes, as the program uses them.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <iterator>
#include <thread>

#include "common/Handles.h"
#include "common/WideText.h"
#include "support/Files.h"

TEST(Mutexes, secondHandleGetsAlreadyExists) {
    for (const WideView title : {TEXT("plain"), TEXT("a:b*?\"<>|"), TEXT("\u00fcber\u6f22"), TEXT("with /"), TEXT(".."),
                                 TEXT("with %3A percent")}) {
        const WideString name = TEXT("Local\\Vellumd.Test.") + WideString(title);
        SetLastError(77);
        KernelHandle first(CreateMutexW(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(GetLastError(), 0U);
        ASSERT_TRUE(first);
        {
            const KernelHandle second(CreateMutexW(nullptr, TRUE, name.c_str()));
            EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
            EXPECT_TRUE(second);
        }
        EXPECT_TRUE(ReleaseMutex(first.get()));
        EXPECT_EQ(errorAfter(ReleaseMutex(first.get())), ERROR_NOT_OWNER) << "it is nobody's";
        first.reset();
        const KernelHandle again(CreateMutexW(nullptr, FALSE, name.c_str()));
        EXPECT_EQ(GetLastError(), 0U) << "the name went with its last handle";
        EXPECT_FALSE(ReleaseMutex(again.get()));
    }
}

TEST(Mutexes, namesDifferByCaseNamespaceAndLength) {
    const WideString common(200, TEXT('n'));
    const WideString names[] = {TEXT("Local\\Vellumd.a"), TEXT("Local\\Vellumd.A"), TEXT("Global\\Vellumd.a"),
                                TEXT("Local\\") + common, TEXT("Local\\") + common + TEXT("x")};
    KernelHandle held[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i) {
        held[i].reset(CreateMutexW(nullptr, FALSE, names[i].c_str()));
        EXPECT_EQ(GetLastError(), 0U) << i;
        EXPECT_TRUE(held[i]) << i;
    }
    const KernelHandle local(CreateMutexW(nullptr, FALSE, TEXT("Vellumd.a")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS}) << "a name without a namespace is the session's";
}

TEST(Mutexes, waitTakesItWhenItsOwnerLetsGo) {
    const KernelHandle first(CreateMutexW(nullptr, FALSE, TEXT("Local\\Vellumd.Test.wait")));
    ASSERT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
    ASSERT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0) << "the owner has it already";
    DWORD early = WAIT_FAILED, late = WAIT_FAILED;
    std::atomic<bool> hasWaited = false;
    std::thread other([&] {
        const KernelHandle second(CreateMutexW(nullptr, FALSE, TEXT("Local\\Vellumd.Test.wait")));
        early = WaitForSingleObject(second.get(), 20);
        hasWaited = true;
        late = WaitForSingleObject(second.get(), 20000);
        ReleaseMutex(second.get());
    });
    while (!hasWaited)
        Sleep(1);
    EXPECT_TRUE(ReleaseMutex(first.get()));
    EXPECT_TRUE(ReleaseMutex(first.get())) << "taken twice";
    other.join();
    EXPECT_EQ(early, DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(late, WAIT_OBJECT_0);
}
