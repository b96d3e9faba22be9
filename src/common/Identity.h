// The user's name, and new identifiers for notes.
#pragma once

#include "common/WideText.h"

// The name of the user that the process runs as. Empty on failure, and for a name of more than 255 units.
WideString currentUserName();

// A new GUID: 36 units, lower case, without braces. Empty on failure.
WideString newGuidText();
