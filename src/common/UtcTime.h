// The time format of note files: UTC in whole seconds, "2026-03-14T09:26:53Z".
#pragma once

#include "common/WideText.h"

// Formats a time; milliseconds are dropped.
WideString formatUtcTime(const SYSTEMTIME& time);

// The current time in that format.
WideString nowUtcText();

// Reads six numbers separated by "-", "-", "T", ":", ":". A number may have a sign or leading ASCII blanks. No range is
// checked: each number keeps its low 16 bits. Text after the seconds (a fraction, an offset, a missing "Z") is ignored.
// False, with `time` unchanged, when `text` has fewer than 19 units or does not hold six numbers.
bool parseUtcTime(WideView text, SYSTEMTIME& time);
