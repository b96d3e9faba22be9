// A display process next to the test, and its windows as other processes see them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/Eventually.h"
#include "support/Process.h"

struct ShownWindow {
    std::uintptr_t handle = 0;
    RECT rect = {};
    DWORD style = 0;
    DWORD exStyle = 0;
    bool isVisible = false;
    bool isActive = false;  // the active window
};

class DisplayProcess {
  public:
    DisplayProcess(const WideString& arguments, const Environment& environment);
    // Kills the process if it still runs.
    ~DisplayProcess();
    DisplayProcess(const DisplayProcess&) = delete;
    DisplayProcess& operator=(const DisplayProcess&) = delete;

    // The visible notes, topmost first.
    std::vector<ShownWindow> notes() const;
    // Simulates the mouse, in screen pixels, and the keyboard.
    void click(LONG x, LONG y) const;
    // Drags by a title bar or by the bottom right corner.
    void drag(LONG fromX, LONG fromY, LONG toX, LONG toY) const;
    // Types ASCII characters into the body of the topmost note. They have arrived when this returns.
    void typeIntoBody(const std::string& text) const;
    // Tells the notes that the session ends. Returns when all have handled it.
    void endSession() const;
    // Does what an installer does to replace the program's file: ends the session for this program only, then sends
    // WM_CLOSE to every note.
    void closeForInstaller() const;
    // Closes the hidden message window and waits for the process. Returns its exit code, or -1 if it does not end in
    // time.
    int end();
    // Like end(), for a process that ends on its own.
    int ends();

  private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
};
