// Events, waits, threads and mutexes, as the program uses them.
#include <gtest/gtest.h>
#include <process.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <iterator>

#include "common/Handles.h"
#include "common/WideText.h"
#include "support/Files.h"

namespace {

WaitHandle makeEvent(bool signalled) {
    return WaitHandle(CreateEventW(nullptr, TRUE, signalled, nullptr));
}

WaitHandle makeThread(unsigned(WINAPI* function)(void*), void* argument) {
    return WaitHandle(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, function, argument, 0, nullptr)));
}

}  // namespace

TEST(WaitsThreads, eventStaysAsItWasSet) {
    const WaitHandle off = makeEvent(false), on = makeEvent(true);
    EXPECT_EQ(WaitForSingleObject(off.get(), 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(on.get(), INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(on.get(), 0), DWORD{WAIT_OBJECT_0}) << "a wait does not reset it";
    ASSERT_TRUE(ResetEvent(on.get()) && SetEvent(off.get()));
    EXPECT_EQ(WaitForSingleObject(on.get(), 1), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(off.get(), 0), DWORD{WAIT_OBJECT_0});
}

TEST(WaitsThreads, firstOfSeveralDecides) {
    const WaitHandle first = makeEvent(false), second = makeEvent(true), third = makeEvent(true);
    const HANDLE all[] = {first.get(), second.get(), third.get()};
    EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, INFINITE), WAIT_OBJECT_0 + DWORD{1});
    SetEvent(first.get());
    EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, INFINITE), DWORD{WAIT_OBJECT_0});
}

TEST(WaitsThreads, waitEndsWithTheThread) {
    struct Shared {
        WaitHandle go = makeEvent(false);
        std::atomic<bool> done = false;
    } shared;
    const WaitHandle thread = makeThread(
        [](void* argument) -> unsigned {
            auto& with = *static_cast<Shared*>(argument);
            WaitForSingleObject(with.go.get(), INFINITE);
            with.done = true;
            return 0;
        },
        &shared);
    ASSERT_TRUE(thread);
    EXPECT_EQ(WaitForSingleObject(thread.get(), 1), DWORD{WAIT_TIMEOUT});
    SetEvent(shared.go.get());
    EXPECT_EQ(WaitForSingleObject(thread.get(), 30000), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(shared.done);
}

TEST(WaitsThreads, wrongHandlesFailWithSix) {
    const TempFolder folder;
    const FileHandle file(
        CreateFileW((folder / TEXT("f")).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    WaitHandle closed = makeEvent(true);
    const HANDLE dead = closed.get();
    closed.reset();
    const struct {
        const char* title;
        std::function<bool()> fails;
    } rows[] = {
        {"wait for a closed one", [&] { return WaitForSingleObject(dead, 0) == WAIT_FAILED; }},
        {"wait for several", [&] { return WaitForMultipleObjects(1, &dead, FALSE, 0) == WAIT_FAILED; }},
        {"set", [&] { return !SetEvent(dead); }},
        {"reset", [&] { return !ResetEvent(dead); }},
        {"set a file", [&] { return !SetEvent(file.get()); }},
        {"release", [&] { return !ReleaseMutex(dead); }},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(row.fails()) << row.title;
        const DWORD error = GetLastError();
        // Set on a file is of another kind: Wine says so in other words.
        EXPECT_TRUE(error == ERROR_INVALID_HANDLE || std::string_view(row.title) == "set a file") << row.title << error;
    }
}

TEST(WaitsThreads, ticksPassWithSleep) {
    const ULONGLONG before = GetTickCount64();
    Sleep(20);
    const ULONGLONG passed = GetTickCount64() - before;
    EXPECT_GE(passed, 15U);
    EXPECT_LT(passed, 10000U);
}

TEST(Mutexes, secondHandleIsToldThatTheNameExists) {
    for (const WideView title : {TEXT("plain"), TEXT("a:b*?\"<>|"), TEXT("\u00fcber\u6f22"), TEXT("with /"), TEXT(".."),
                                 TEXT("with %3A percent")}) {
        const WideString name = TEXT("Local\\Vellumd.Test.") + WideString(title);
        SetLastError(77);
        WaitHandle first(CreateMutexW(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(GetLastError(), 0U);
        ASSERT_TRUE(first);
        {
            const WaitHandle second(CreateMutexW(nullptr, TRUE, name.c_str()));
            EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
            EXPECT_TRUE(second);
        }
        EXPECT_TRUE(ReleaseMutex(first.get()));
        EXPECT_FALSE(ReleaseMutex(first.get())) << "it is nobody's";
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_OWNER});
        first.reset();
        const WaitHandle again(CreateMutexW(nullptr, FALSE, name.c_str()));
        EXPECT_EQ(GetLastError(), 0U) << "the name went with its last handle";
        EXPECT_FALSE(ReleaseMutex(again.get()));
    }
}

TEST(Mutexes, namesAreToldApart) {
    const WideString common(200, TEXT('n'));
    const WideString names[] = {TEXT("Local\\Vellumd.a"), TEXT("Local\\Vellumd.A"), TEXT("Global\\Vellumd.a"),
                                TEXT("Local\\") + common, TEXT("Local\\") + common + TEXT("x")};
    WaitHandle held[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i) {
        held[i].reset(CreateMutexW(nullptr, FALSE, names[i].c_str()));
        EXPECT_EQ(GetLastError(), 0U) << i;
        EXPECT_TRUE(held[i]) << i;
    }
    const WaitHandle local(CreateMutexW(nullptr, FALSE, TEXT("Vellumd.a")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS}) << "a name without a namespace is the session's";
}

TEST(MutexesThreads, onlyTheOwningThreadReleases) {
    const WaitHandle mutex(CreateMutexW(nullptr, TRUE, TEXT("Local\\Vellumd.Test.Owner")));
    struct Answer {
        HANDLE mutex;
        DWORD error = 0;
    } answer{mutex.get()};
    const WaitHandle thread = makeThread(
        [](void* argument) -> unsigned {
            auto& to = *static_cast<Answer*>(argument);
            to.error = ReleaseMutex(to.mutex) ? 0 : GetLastError();
            return 0;
        },
        &answer);
    ASSERT_EQ(WaitForSingleObject(thread.get(), 30000), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(answer.error, DWORD{ERROR_NOT_OWNER});
    EXPECT_TRUE(ReleaseMutex(mutex.get()));
}
