// The scheduled task that starts a display process in every session, and again after one has died. It runs this
// executable as LocalSystem with --launch-user-sessions. The calling thread must have called CoInitializeEx.
//
// `error` may be null. It is emptied first; on failure it says which step failed and with which HRESULT.
#pragma once

#include <taskschd.h>

#include "common/ComHandles.h"
#include "common/WideText.h"

namespace TaskSched {

// Registers the task, replacing one of the same name, and with `runNow` runs it. If registration fails, an existing
// task is unchanged. If only the run fails, the task is registered and the result is false. Throws ComError when there
// is no memory for the arguments of RegisterTaskDefinition.
bool registerRecoveryTask(const WideString& name, const WideString& executable, const WideString& arguments,
                          bool runNow, WideString* error);

// Deletes the task. True also when there is none. Does not stop a running instance.
bool deleteRecoveryTask(const WideString& name, WideString* error);

// Opens the folder that the tasks are in, for those who read them.
HRESULT openRootFolder(ComPointer<ITaskFolder>& folder);

// Whether the calling thread is an elevated administrator or LocalSystem.
bool requireElevation(WideString* error);

// True if `hr` is a success. Otherwise sets the error text to the step and `hr`.
bool checkStep(HRESULT hr, const WCHAR* step, WideString* error);

// Sets the error text to `message` followed by " (hr=0x%08lx)".
void formatHr(WideString* error, WideView message, HRESULT hr);

}  // namespace TaskSched
