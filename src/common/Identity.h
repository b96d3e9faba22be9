// Who the user is, and identifiers for new notes.
#pragma once

#include "common/WideText.h"

// Name of the user the process runs as; empty on failure, or when it is longer than 255 units.
WideString currentUserName();

// A fresh GUID: 36 units, lower case, without braces. Empty on failure.
WideString newGuidText();
