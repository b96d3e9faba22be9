// Times as note files hold them: UTC to the second, "2026-03-14T09:26:53Z".
#pragma once

#include "common/WideText.h"

// Milliseconds are dropped.
WideString formatUtcTime(const SYSTEMTIME& time);

// The present time in that form.
WideString nowUtcText();

// Reads what formatUtcTime writes, and forgives: six numbers separated by "-", "-", "T", ":", ":", each of which may
// carry a sign or leading blanks (of ASCII); no range is checked, each number keeps its low 16 bits, and whatever
// follows the seconds (a fraction, an offset, no "Z") is ignored. False, with `time` untouched, when `text` has fewer
// than 19 units or does not yield six numbers.
bool parseUtcTime(WideView text, SYSTEMTIME& time);
