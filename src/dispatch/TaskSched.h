// The scheduled task that brings a display process into every session, and back after it died: it runs this executable
// as LocalSystem with --launch-user-sessions. COM has to be initialised on the calling thread.
//
// An error text, when one is given, is emptied first, and on failure says which step failed and with which HRESULT.
#pragma once

#include "common/WideText.h"

namespace TaskSched {

// Registers the task, or replaces the one of that name, and runs it at once when `runNow` is set. On failure a task of
// that name is as it was before, except when that first run alone failed: then it is registered, and false is returned
// all the same. Raises ComError when there is no memory left for the last call.
bool registerRecoveryTask(const WideString& name, const WideString& executable, const WideString& arguments,
                          bool runNow, WideString* error);

// True also when there is no such task. Stops nothing that runs.
bool deleteRecoveryTask(const WideString& name, WideString* error);

// Whether the calling thread is an elevated administrator or LocalSystem.
bool requireElevation(WideString* error);

// True unless `hr` is negative; otherwise the error text tells of the step.
bool checkStep(HRESULT hr, const WCHAR* step, WideString* error);

// Sets the error text to the message followed by " (hr=0x%08lx)". `error` may be null.
void formatHr(WideString* error, WideView message, HRESULT hr);

}  // namespace TaskSched
