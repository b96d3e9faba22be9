// Many files at once, with the whole display behind the watcher.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "DisplayFixture.h"

namespace {

class Burst : public DisplayMachine {
  protected:
    Burst() { platform::clock::useRealTime(); }
};

}  // namespace

// A full message queue loses notices, as it does on Windows: what they told of is on disk, and a wake-up brings it.
TEST_F(Burst, everyFileIsShownInTheEnd) {
    // More on demand: the sanitizers make thousands of windows slow.
    const char* const wanted = std::getenv("VELLUM_BURST");
    const int files = wanted == nullptr ? 1000 : std::atoi(wanted);
    App app;
    ASSERT_EQ(start(app, {"watched"}), kEnterMessageLoop);
    std::atomic<bool> written{false};
    std::thread writer([&] {
        for (int i = 0; i < files; ++i)
            putNote(std::to_string(100'000 + i));
        written = true;
    });
    EXPECT_TRUE(eventually(
        [&] {
            platform::desktop::pump();
            return written.load();
        },
        std::chrono::minutes(10)));
    writer.join();
    send(app, RegisterWindowMessageW(TEXT("Vellumd.WakeUp")));
    const std::string windows = platform::desktop::describeWindows();
    int shown = 0;
    for (std::size_t at = 0; (at = windows.find("NoteWindow", at)) != std::string::npos; ++at)
        ++shown;
    EXPECT_EQ(shown, files);
    app.shutdown();
    EXPECT_TRUE(has(log(), "Watcher: Worker stopped"));
}
