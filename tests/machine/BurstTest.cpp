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
    template <typename Condition>
    bool pumpUntil(Condition condition) {
        return eventually(
            [&] {
                platform::desktop::pump();
                return condition();
            },
            std::chrono::minutes(10));
    }
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
    EXPECT_TRUE(pumpUntil([&] { return written.load(); }));
    writer.join();
    const auto shown = [] {
        const std::string windows = platform::desktop::describeWindows();
        std::size_t count = 0;
        for (std::size_t at = 0; (at = windows.find("NoteWindow", at)) != std::string::npos; ++at)
            ++count;
        return count;
    };
    std::size_t before = 0;
    EXPECT_TRUE(pumpUntil([&] { return std::exchange(before, shown()) == shown() && shown() > 0; }));
    send(app, RegisterWindowMessageW(TEXT("Vellumd.WakeUp")));
    EXPECT_EQ(shown(), static_cast<std::size_t>(files));
    app.shutdown();
    EXPECT_TRUE(has(log(), "Watcher: Worker stopped"));
}
