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
    // Drags a bar or the lower right corner.
    void drag(LONG fromX, LONG fromY, LONG toX, LONG toY) const;
    // Characters of ASCII, into the body of the uppermost note; they are there on return.
    void typeIntoBody(const std::string& text) const;
    // Tells the notes that the user's session ends; has returned when all have heard of it.
    void endSession() const;
    // What an installer does that wants to replace the program's file: the end of the session for this program alone,
    // and WM_CLOSE to each note at once.
    void closeForInstaller() const;
    // Closes the hidden message window, as nobody does in daily life, and waits for the process. Its exit code; -1 when
    // it does not end in time.
    int end();
    // Waits in the same way for a process that ends of itself.
    int ends();

  private:
    struct Platform;
    std::unique_ptr<Platform> platform_;
};
