// The diagnostic log of the process: one text file for each session, user and day, and a copy of every line to the
// debugger. A log that cannot be opened or written costs nothing but the log: nothing here reports a failure.
//
// logWrite may be called from any thread. The first call into the log has to come from the main thread, before
// another thread exists.
#pragma once

#include "common/WideText.h"

enum class LogLevel : int { Debug = 0, Info = 1, Warn = 2, Error = 3 };

// Sets the threshold, remembers the instance name if one is given, and opens the file unless one is open. Returns
// whether a file is open. The file lies in
//     %PROGRAMDATA%\OmbrelService_Common[_<instance>]\Logs\Vellumd_<session>_<user>_<yyyymmdd>.log
// A second process of the same session, user and day finds it taken and goes on without a file.
bool logOpen(LogLevel level, const WCHAR* instance);

// Flushes and closes the file. Lines written later reach the debugger only.
void logClose();

// One line, "<UTC time> [<level>] <component>: <message>" and CR LF. A level below the threshold costs one
// comparison. The message is cut at 1999 units. `component` and `format` may be null; text arguments are %ls.
void logWrite(LogLevel level, const WCHAR* component, const WCHAR* format, ...);

// Lines below this level are dropped; Info until set.
void logSetLevel(LogLevel level);
LogLevel logGetLevel();

// Full path of the log file; empty until logOpen has made it out.
WideString logPath();

// Reads "debug", "info", "warn", "warning" or "error" in any case. False, with `level` untouched, for another word
// or a null pointer.
bool logParseLevel(const WCHAR* word, LogLevel* level);
