// The display role inside the test's own process: an App on a machine of its own, with a clock that the test moves.
#pragma once

#include <algorithm>
#include <fstream>
#include <sstream>

#include "Desktop.h"
#include "MachineFixture.h"
#include "app/App.h"
#include "app/ExitCode.h"
#include "common/Messages.h"
#include "support/Eventually.h"
#include "support/Files.h"
#include "support/Text.h"

class DisplayMachine : public MachineTest {
  protected:
    DisplayMachine() {
        platform::clock::set(1'700'000'000'000);
        platform::desktop::setMonitors(platform::machine().monitors);
        std::filesystem::create_directories(notes());
    }

    std::filesystem::path notes() const { return folder() / "notes"; }
    // Of the file, as the App builds it.
    WideString path(const std::string& name) const { return productPath(notes()) + TEXT("\\") + wide(name); }
    void put(const std::string& name, const std::string& text) const { std::ofstream(notes() / name) << text; }
    void putNote(const std::string& id, const std::string& more = "") const {
        put(id + ".json", "{\"id\":\"" + id + "\"" + more + "}");
    }
    std::string get(const std::string& name) const {
        std::stringstream text;
        text << std::ifstream(notes() / name).rdbuf();
        return text.str();
    }

    // Starts a display of the notes folder, without a watcher unless `more` says "watched".
    int start(App& app, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {"Vellumd",     "--folder", utf8(productPath(notes())),
                                              "--log-level", "debug",    "--no-autostart"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        platform::setCommandLine(arguments);
        if (std::find(more.begin(), more.end(), "watched") == more.end())
            platform::faults::arm({"_beginthreadex", 1, platform::faults::Action::Fail, 8});
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

    // What was logged since the last call, a line each, without the time.
    std::string log() {
        std::string text;
        for (const std::u16string& line : platform::notices::takeDebugOutput()) {
            const std::string whole = utf8(line);
            text += whole.substr(std::min(whole.find('['), whole.size()));
        }
        return text;
    }
    static bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

    // The class and rectangle of each note window, the uppermost first.
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
};
