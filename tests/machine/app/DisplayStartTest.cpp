// The start and end of the display role: every step and every failure.

#include "app/MessageWindow.h"
#include "machine/support/DisplayFixture.h"

namespace {

using DisplayStart = DisplayMachine;

}  // namespace

TEST_F(DisplayStart, everyFailureHasItsExitCodeAndLogLine) {
    const std::tuple<const char*, unsigned, int, const char*> rows[] = {
        {"CreateMutexW", 1, 4, "[ERROR] App: CreateMutex failed; err=1450\r\n"},
        {"GdiplusStartup", 1, 5, "[ERROR] App: GdiplusStartup failed\r\n"},
        {"RegisterClassExW", 1, 6, "[ERROR] App: Failed to create message window; err=1450\r\n"},
        {"CreateWindowExW", 1, 6, "[ERROR] App: Failed to create message window; err=1450\r\n"},
        {"RegisterClassExW", 2, 7, "[ERROR] App: Failed to register NoteWindow class; err=1450\r\n"},
        {"_beginthreadex", 1, kEnterMessageLoop,
         "[WARN ] App: FolderWatcher failed to start; new notes will not appear\r\n"},
        {"FindFirstFileW", 1, kEnterMessageLoop, "Initial scan: folder empty or unreadable (err=1450)\r\n"},
        {"SetTimer", 1, kEnterMessageLoop, "[INFO ] App: Started; 1 note(s) loaded\r\n"},
        {"RegisterWindowMessageW", 1, kEnterMessageLoop, "[INFO ] App: Started; 1 note(s) loaded\r\n"},
        {"CreateWindowExW", 2, kEnterMessageLoop,
         "[ERROR] NoteWindow: CreateWindowExW failed for id=n (err=1450)\r\n"
         "[ERROR] App: NoteWindow::create failed for id=n\r\n"},
        {"CoInitializeEx", 1, 1, ""}};
    putNote("n");
    for (const auto& [call, use, exitCode, line] : rows) {
        SCOPED_TRACE(call);
        const std::size_t handles = platform::faults::openHandles();
        App app;
        EXPECT_EQ(whileFailing(call, use, 1450, [&] { return start(app); }), exitCode);
        EXPECT_TRUE(has(log(), line));
        app.shutdown();
        EXPECT_EQ(platform::faults::openHandles(), handles);
        EXPECT_EQ(platform::faults::openDrawing() + platform::faults::openApartments(), 0U);
        EXPECT_EQ(app.messageWindow(), nullptr);
    }
}

TEST_F(DisplayStart, userWithoutAProfileFolderCannotStart) {
    describe("[session 1]\nuser = stranger\n");
    platform::setCommandLine({"Vellumd"});
    App app;
    EXPECT_EQ(app.initialize(nullptr, TEXT("")), 2);
    EXPECT_TRUE(has(log(), "[ERROR] App: Cannot determine notes folder\r\n"));
    app.shutdown();
}

TEST_F(DisplayStart, defaultFolderIsInTheProfile) {
    platform::setCommandLine({"Vellumd", "--no-autostart", "-i", "a/b:c"});
    App app;
    EXPECT_EQ(app.initialize(nullptr, TEXT("")), kEnterMessageLoop);
    EXPECT_TRUE(has(log(), "Notes folder: C:\\Users\\operator\\AppData\\Local\\Quorvane\\Ombrel\\Notes\\a_b_c\r\n"));
    EXPECT_EQ(wakeUpMessage, RegisterWindowMessageW(TEXT("Vellumd.WakeUp.a_b:c")));
    app.shutdown();
}

TEST_F(DisplayStart, secondProcessWakesTheFirstAndExits) {
    App first, second, third, fourth;
    EXPECT_EQ(start(first), kEnterMessageLoop);
    EXPECT_EQ(start(second, {"-i", ""}), 0) << "an empty name is that of no instance";
    EXPECT_TRUE(has(log(), "Another instance is running (mutex=Local\\Vellumd.SingleInstance.v1); sending wake-up"));
    second.shutdown();
    failCall("RegisterWindowMessageW", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(start(third), 0) << "the second, which never owned the mutex, does not release it";
    EXPECT_EQ(platform::faults::uses("BroadcastSystemMessageW"), 1U) << "without a number there is nothing to send";
    third.shutdown();
    first.shutdown();
    EXPECT_EQ(start(fourth), kEnterMessageLoop) << "free again";
    fourth.shutdown();
}

TEST_F(DisplayStart, eachStartRewritesTheAutoStartValue) {
    const std::string option = utf8(productPath(notes()));
    const auto valueAfter = [&](const std::vector<std::string>& arguments) {
        App app;
        platform::setCommandLine(arguments);
        EXPECT_EQ(app.initialize(nullptr, TEXT("")), kEnterMessageLoop);
        app.shutdown();
        return contentOf(folder() /
                         "registry/HKEY_USERS/operator/Software/Microsoft/Windows/CurrentVersion/Run/Vellumd.REG_SZ");
    };
    const std::string value = valueAfter({"Vellumd", "--folder", option, "-i", "x", "--log-level", "debug"});
    const std::string image = value.substr(0, value.find("\" ") + 1);
    EXPECT_TRUE(image.starts_with("\"Z:\\") && image.ends_with("vellum-machine-tests\"")) << image;
    EXPECT_EQ(value, image + " --folder \"" + option + "\"");
    EXPECT_TRUE(has(log(), "[DEBUG] App: Auto-start registered: " + value + "\r\n"));
    EXPECT_EQ(valueAfter({"Vellumd", "-i", "y"}), image) << "a start without a folder replaces one that had it";
    failCall("RegSetValueExW", 1, ERROR_ACCESS_DENIED);
    valueAfter({"Vellumd", "-i", "y"});
    EXPECT_TRUE(has(log(), "[WARN ] App: Auto-start registration failed (err=5); continuing without it\r\n"));
}

TEST_F(DisplayStart, shutdownLeavesTheNoteWindowsToTheSystem) {
    putNote("a");
    HWND left = nullptr;
    {
        App app;
        EXPECT_EQ(start(app), kEnterMessageLoop);
        left = firstNote();
        ASSERT_NE(left, nullptr);
        const std::string before = get("a.json");
        app.shutdown();
        EXPECT_EQ(get("a.json"), before) << "nothing is saved";
    }
    EXPECT_TRUE(IsWindow(left));
    SendMessageW(left, WM_SIZE, 0, 0x00640064);  // the object is gone: a late message must do no harm
    EXPECT_TRUE(DestroyWindow(left));
}

TEST_F(DisplayStart, messageLoopRunsUntilItsWindowCloses) {
    App app;
    EXPECT_EQ(start(app), kEnterMessageLoop);
    PostMessageW(app.messageWindow(), WM_CLOSE, 0, 0);
    EXPECT_EQ(runMessageLoop(), 0);
    app.shutdown();
    EXPECT_EQ(whileFailing("GetMessageW", 1, 1450, runMessageLoop), 0) << "an error ends it too";
}

TEST_F(DisplayStart, survivesAnyFailingCall) {
    platform::clock::useRealTime();
    putNote("a");
    putNote("b", ",\"position\":{\"x\":1,\"y\":2}");
    bool fired = true;
    for (unsigned use = 1; fired && !HasFailure(); ++use) {
        const std::size_t handles = platform::faults::openHandles(), memory = platform::faults::openAllocations();
        SCOPED_TRACE("failing call " + std::to_string(use));
        platform::faults::clear();
        failCall("*", use, 1450);
        {
            App app;
            const int exitCode = start(app, {"watched"});
            EXPECT_TRUE(exitCode >= kEnterMessageLoop && exitCode <= kNoteClassFailed) << exitCode;
            EXPECT_EQ(exitCode == kEnterMessageLoop || exitCode == kNoteClassFailed, app.messageWindow() != nullptr);
            if (exitCode == kEnterMessageLoop) platform::desktop::pump();
            app.shutdown();
            EXPECT_EQ(app.messageWindow(), nullptr);
        }
        for (HWND window = firstNote(); window != nullptr && DestroyWindow(window);)
            window = firstNote();
        fired = platform::faults::fired();
        platform::faults::clear();
        while (HWND window = firstNote())
            DestroyWindow(window);
        EXPECT_EQ(get("a.json"), "{\"id\":\"a\"}");
        EXPECT_EQ(platform::faults::openAllocations(), memory);
        EXPECT_EQ(platform::faults::openDrawing(), 0U);
        // If the worker could not be stopped or waited for, it keeps its handles a little longer.
        EXPECT_TRUE(eventually([&] { return platform::faults::openHandles() <= handles + 5; }));
        const std::string text = log();
        EXPECT_TRUE((fired || has(text, "Started; 2 note(s) loaded")) && !HasFailure()) << text;
    }
}
