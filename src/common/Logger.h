// The diagnostic log of the process: one text file for each session, user and day, and a copy of every line for the
// debugger. Nothing here reports a failure: without a log file the process goes on.
//
// logWrite may be called from any thread. The first call of any function here must come from the main thread, before
// there is another thread.
#pragma once

#include "common/WideText.h"

enum class LogLevel : int { Debug = 0, Info = 1, Warn = 2, Error = 3 };

// Sets the threshold, stores the instance name unless it is null, and opens the file unless one is open. Returns
// whether a file is open. Its path is
//     %PROGRAMDATA%\OmbrelService_Common[_<instance>]\Logs\Vellumd_<session>_<user>_<yyyymmdd>.log
// A second process of the same session, user and day cannot open it and runs without a log file.
bool logOpen(LogLevel level, const WCHAR* instance);

// Flushes and closes the file. Later lines go to the debugger only.
void logClose();

// Writes one line, "<UTC time> [<level>] <component>: <message>" CR LF. Does nothing below the threshold. The message
// is cut at 1999 units. `component` and `format` may be null. Format text arguments with %ls.
void logWrite(LogLevel level, const WCHAR* component, const WCHAR* format, ...);

// Lines below this level are dropped; Info until set.
void logSetLevel(LogLevel level);
LogLevel logGetLevel();

// The full path of the log file; empty until logOpen has determined it.
WideString logPath();

// Reads "debug", "info", "warn", "warning" or "error" in any case. False, with `level` untouched, for another word
// or a null pointer.
bool logParseLevel(const WCHAR* word, LogLevel* level);
