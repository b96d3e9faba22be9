// The receiving side of the folder watcher: a message-only window of the calling thread, and what was posted to it.
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

    // Takes over what lies in the queue. Each message is "+" (added or changed) or "-" (gone) and the full path.
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
    // Adds what comes to `seen` until it holds all that is expected.
    bool awaitsAll(const std::set<std::string>& expected, std::set<std::string>& seen) {
        return eventually([&] {
            for (std::string& message : take())
                seen.insert(std::move(message));
            return std::includes(seen.begin(), seen.end(), expected.begin(), expected.end());
        });
    }
    // What came since the last call.
    std::vector<std::string> take() {
        fetch();
        return std::exchange(messages_, {});
    }

  private:
    HWND handle_ = nullptr;
    std::vector<std::string> messages_;
};

// A watched folder. How many messages one change gives differs: what is told twice in a row counts once.
class WatchedFolder {
  public:
    explicit WatchedFolder(WideString folder) : folder_(std::move(folder)) {}
    ~WatchedFolder() { watcher.stop(); }

    WideString operator/(WideView name) const { return joinPath(folder_, name); }
    std::string added(WideView name) const { return "+" + utf8(joinPath(folder_, name)); }
    std::string removed(WideView name) const { return "-" + utf8(joinPath(folder_, name)); }

    bool start() { return watcher.start(folder_, window.handle()); }
    // Starts the watcher, if it does not run, and returns when it reads.
    bool startReading() {
        start();
        return isReading();
    }
    // Changes a new file until it is told, and lets all that this caused come in.
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
    // What the changes since the last call gave, as "+a.json -b.json". A last change shows that all has come in.
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

    WatcherWindow window;  // outlives the watcher
    FolderWatcher watcher;

  private:
    WideString nextName(WideView head) { return WideString(head) + wide(std::to_string(names_++)) + TEXT(".json"); }

    const WideString folder_;
    int names_ = 0;
};
