// The one object of the process. The entry function makes it, calls initialize once, runs the message loop if
// initialize says so, and calls shutdown once in every case. All of it happens on the main thread.
#pragma once

#include "app/CommandLine.h"
#include "common/WideText.h"

class App {
  public:
    // Reads the options, decides the role and runs it. Returns the exit code of the process, or kEnterMessageLoop
    // when the display role has started. The options come from the system's own copy of the command line;
    // `commandLine` is taken and not used. Failures are in the log, and with them nothing is shown to the user.
    int initialize(HINSTANCE instance, const WideString& commandLine);

    // Undoes what initialize has done, in order, also after a failure.
    void shutdown();

  private:
    int startApplet(const CommandLineOptions& options);
    int dispatchOrManageTask(const CommandLineOptions& options);

    HINSTANCE hInstance = nullptr;
    bool comInitialized = false;
    bool noAutostart = false;
};
