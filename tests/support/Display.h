// A display process that runs beside the test, and the windows that it shows, seen from outside.
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
    bool isActive = false;  // has the keyboard
};

class DisplayProcess {
  public:
    // Starts Vellumd with these arguments.
    DisplayProcess(const WideString& arguments, const Environment& environment);
    // Kills it, if it still runs.
    ~DisplayProcess();
    DisplayProcess(const DisplayProcess&) = delete;
    DisplayProcess& operator=(const DisplayProcess&) = delete;

    // The notes that it shows, the uppermost first.
    std::vector<ShownWindow> notes() const;
    // What a user does with the mouse, in pixels of the screen, and with the keyboard.
    void click(LONG x, LONG y) const;
    void drag(LONG fromX, LONG fromY, LONG toX, LONG toY) const;
    // Characters of ASCII, into the body of the uppermost note.
    void typeIntoBody(const std::string& text) const;
    // Closes the hidden message window, as nobody does in daily life, and waits for the process. False when it does not
    // end within 20 seconds.
    bool end(DWORD& exitCode);

  private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
};
