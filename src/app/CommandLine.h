// The options of the command line, and the decisions that depend on them alone. Plain functions on values.
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
    bool helpRequested = false;  // the scan stopped here: the other fields are not complete
};

// Reads the options from the second argument on. A later value replaces an earlier one. An unknown argument only sets
// `unknownSeen`; an unknown level word is ignored.
CommandLineOptions scanOptions(const std::vector<WideString>& arguments);

// Whether the options do not fit an applet role (appletQueue or appletRecover is on).
bool appletArgumentsRejected(const CommandLineOptions& options);

// The arguments for the display processes that the task starts: instance and folder, quoted, then --no-autostart.
WideString forwardedArguments(const CommandLineOptions& options);

// The name of the scheduled task of this instance.
WideString taskName(const WideString& instanceName);

// The text of the help message box.
WideString helpText();
