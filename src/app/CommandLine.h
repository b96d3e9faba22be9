// The options of the command line and what follows from them alone. Plain functions on values.
#pragma once

#include <vector>

#include "common/Logger.h"
#include "common/WideText.h"

struct CommandLineOptions {
    WideString instanceName;
    WideString folderOption;
    LogLevel logLevel = LogLevel::Info;
    bool registerTask = false;
    bool deleteTask = false;
    bool launchSessions = false;
    bool appletQueue = false;
    bool appletRecover = false;
    bool noAutostart = false;
    bool unknownSeen = false;
    bool helpRequested = false;  // the scan ended there; the other values mean nothing
};

// Reads the options from the second argument on. A later value wins over an earlier one. An argument that matches
// nothing is only remembered; a level word that names no level is ignored.
CommandLineOptions scanOptions(const std::vector<WideString>& arguments);

// Whether the options do not fit an applet role (appletQueue or appletRecover is on).
bool appletArgumentsRejected(const CommandLineOptions& options);

// What a process that is started on behalf of this one is given: instance and folder, quoted, and --no-autostart.
WideString forwardedArguments(const CommandLineOptions& options);

// Name of the scheduled task; every instance has its own.
WideString taskName(const WideString& instanceName);

// Text of the help box.
WideString helpText();
