// What an instance name becomes where other things bear it. Plain functions on text.
#pragma once

#include "common/WideText.h"

// The subfolder of the notes folder: what no file name can hold becomes "_".
WideString instanceFolder(WideView instanceName);

// Appended to the names of the mutex and of the wake-up message; empty for an empty name. Fewer characters are
// replaced than for the folder: a colon stays.
WideString instanceSuffix(WideView instanceName);
