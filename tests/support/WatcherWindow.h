// The receiver of the folder watcher's messages: a message-only window of the calling thread that records them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/Messages.h"
#include "common/Paths.h"
#include "support/Eventually.h"
#include "support/Files.h"
#include "support/Text.h"
#include "watch/FolderWatcher.h"

class WatcherWindow {
  public:
    WatcherWindow() {
        WNDCLASSEXW description = {};
        description.cbSize = sizeof description;
        description.lpfnWndProc = DefWindowProcW;
        description.lpszClassName = TEXT("VellumTestWatcherWindow");
        RegisterClassExW(&description);
        handle_ = CreateWindowExW(0, description.lpszClassName, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr);
    }
    ~WatcherWindow() {
        fetch();
        DestroyWindow(handle_);
    }
    WatcherWindow(const WatcherWindow&) = delete;
    WatcherWindow& operator=(const WatcherWindow&) = delete;

    HWND handle() const { return handle_; }

    // Reads the message queue. Records each message as "+" (added or changed) or "-" (removed) and the full path.
    void fetch() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message != WM_APP_FILE_ADDED && message.message != WM_APP_FILE_REMOVED) continue;
            EXPECT_EQ(message.wParam, 0U);
            const OwnedText text = takeText(message.lParam);
            const char sign = message.message == WM_APP_FILE_ADDED ? '+' : '-';
            messages_.push_back(sign + utf8(text.get()));
        }
    }
    bool has(const std::string& message) {
        fetch();
        return std::find(messages_.begin(), messages_.end(), message) != messages_.end();
    }
    bool awaits(const std::string& message) {
        return eventually([&] { return has(message); });
    }
    // Collects messages in `seen` until it contains all expected ones.
    bool awaitsAll(const std::set<std::string>& expected, std::set<std::string>& seen) {
        return eventually([&] {
            for (std::string& message : take())
                seen.insert(std::move(message));
            return std::includes(seen.begin(), seen.end(), expected.begin(), expected.end());
        });
    }
    // The messages since the last call.
    std::vector<std::string> take() {
        fetch();
        return std::exchange(messages_, {});
    }

  private:
    HWND handle_ = nullptr;
    std::vector<std::string> messages_;
};

// A watched folder. The number of messages for one change varies, so repeated messages count once.
class WatchedFolder {
  public:
    explicit WatchedFolder(WideString folder) : folder_(std::move(folder)) {}
    ~WatchedFolder() { watcher.stop(); }

    WideString operator/(WideView name) const { return joinPath(folder_, name); }
    std::string added(WideView name) const { return "+" + utf8(joinPath(folder_, name)); }
    std::string removed(WideView name) const { return "-" + utf8(joinPath(folder_, name)); }

    bool start() { return watcher.start(folder_, window.handle()); }
    // Starts the watcher if it is not running, and returns when it reads changes.
    bool startReading() {
        start();
        return isReading();
    }
    // Changes a new file until the watcher reports it, and waits for all messages that this caused.
    bool isReading() {
        const WideString probe = nextName(TEXT("probe"));
        const bool told = eventually([&] {
            writeFile(*this / probe, "x");
            const std::vector<std::string> messages = window.take();
            return std::find(messages.begin(), messages.end(), added(probe)) != messages.end();
        });
        std::filesystem::remove(hostPath(*this / probe));
        const bool untold = window.awaits(removed(probe));
        window.take();
        return told && untold;
    }
    // The changes since the last call, such as "+a.json -b.json". Adds a marker file to see that all messages have
    // arrived.
    std::string changes() {
        const WideString mark = nextName(TEXT("mark"));
        writeFile(*this / mark, "");
        if (!window.awaits(added(mark))) return "the watcher is silent";
        std::string text, last;
        for (const std::string& message : window.take()) {
            const std::string told = message[0] + message.substr(utf8(joinPath(folder_, TEXT("x"))).size());
            if (told == last || told.starts_with("+mark")) continue;
            text += (text.empty() ? "" : " ") + told;
            last = told;
        }
        return text;
    }

    WatcherWindow window;  // declared first: must outlive the watcher
    FolderWatcher watcher;

  private:
    WideString nextName(WideView head) { return WideString(head) + wide(std::to_string(names_++)) + TEXT(".json"); }

    const WideString folder_;
    int names_ = 0;
};
