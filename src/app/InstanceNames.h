// Names that are derived from the instance name. Plain functions on text.
#pragma once

#include "common/WideText.h"

// The name of the subfolder of the notes folder. Characters that file names cannot contain become "_".
WideString instanceFolder(WideView instanceName);

// The suffix for the names of the mutex and of the wake-up message; empty for an empty instance name. Only "\", "/" and
// control characters become "_": a colon stays.
WideString instanceSuffix(WideView instanceName);
