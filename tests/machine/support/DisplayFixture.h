// Runs the display role inside the test's process: an App on its own machine, with a clock that the test moves.
#pragma once

#include "app/App.h"
#include "app/ExitCode.h"
#include "common/Messages.h"
#include "machine/support/MachineFixture.h"
#include "testing/Desktop.h"

class DisplayMachine : public MachineTest {
  protected:
    DisplayMachine() {
        platform::clock::set(1'700'000'000'000);
        platform::desktop::setMonitors(platform::machine().monitors);
        fs::create_directories(notes());
    }
    // Destroys the windows that an App leaves to the system. Nothing else may be left.
    ~DisplayMachine() override {
        platform::clock::useRealTime();
        platform::faults::clear();
        while (HWND window = firstNote())
            DestroyWindow(window);
        EXPECT_EQ(leftOpen(), atStart_);
    }
    // The memory blocks and drawing objects in use.
    static std::string leftOpen() {
        using namespace platform::faults;
        return std::to_string(openAllocations() + openMemory()) + " blocks, " + std::to_string(openDrawing()) +
               " of GDI+, " + std::to_string(openDrawingObjects()) + " of GDI";
    }

    static HWND firstNote() { return FindWindowExW(nullptr, nullptr, TEXT("Vellumd.NoteWindow"), nullptr); }

    fs::path notes() const { return folder() / "notes"; }
    // The path of a note's file as App builds it.
    WideString path(const std::string& name) const { return productPath(notes()) + TEXT("\\") + wide(name); }
    void put(const std::string& name, const std::string& text) const { std::ofstream(notes() / name) << text; }
    void putNote(const std::string& id, const std::string& more = "") const {
        put(id + ".json", "{\"id\":\"" + id + "\"" + more + "}");
    }
    std::string get(const std::string& name) const { return contentOf(notes() / name); }

    // Starts a display of the notes folder. It has a watcher only if `more` contains "watched".
    int start(App& app, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {"Vellumd",     "--folder", utf8(productPath(notes())),
                                              "--log-level", "debug",    "--no-autostart"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        platform::setCommandLine(arguments);
        if (std::find(more.begin(), more.end(), "watched") == more.end())
            failCall("_beginthreadex", 1, ERROR_NOT_ENOUGH_MEMORY);
        return app.initialize(nullptr, TEXT(""));
    }
    void send(const App& app, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        SendMessageW(app.messageWindow(), message, wParam, lParam);
    }
    void sendText(const App& app, UINT message, const WideString& text) const {
        EXPECT_TRUE(postText(app.messageWindow(), message, text));
        platform::desktop::pump();
    }
    void tellChanged(const App& app, const std::string& name) const { sendText(app, WM_APP_FILE_ADDED, path(name)); }
    void tellRemoved(const App& app, const std::string& name) const { sendText(app, WM_APP_FILE_REMOVED, path(name)); }
    void save(const App& app, const std::string& id) const { sendText(app, WM_APP_NOTE_CHANGED, wide(id)); }

    // The rectangles of all notes as text, topmost first, separated by spaces.
    static std::string places() {
        std::string all;
        for (const RECT& rect : noteRects())
            all += (all.empty() ? "" : " ") + platform::desktop::describeRect(rect);
        return all;
    }
    // The rectangle of each note window, topmost first.
    static std::vector<RECT> noteRects() {
        std::vector<RECT> rects;
        for (HWND window = nullptr;
             (window = FindWindowExW(nullptr, window, TEXT("Vellumd.NoteWindow"), nullptr)) != nullptr;) {
            RECT rect = {};
            GetWindowRect(window, &rect);
            rects.push_back(rect);
        }
        return rects;
    }

  private:
    const std::string atStart_ = leftOpen();
};
