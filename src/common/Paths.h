// Path arithmetic on text. Nothing here asks the file system.
#pragma once

#include "common/WideText.h"

// `left`, "\" and `right`, without the "\" if `left` ends in "\" or "/". If one is empty, the result is the other.
// Nothing is normalised; a separator at the start of `right` stays.
WideString joinPath(WideView left, WideView right);

// The text before the last "\" or "/"; a drive root keeps its separator, so the parent of C:\x is C:\. Empty when there
// is no separator, or only one at the start.
WideString parentPath(WideView path);

// The text after the last "\" or "/", or the whole path.
WideString leafName(WideView path);

// The text after the last dot of the leaf name, with A to Z in lower case. Empty when there is no dot, or only one at
// the start of the name (".json" has no extension).
WideString lowerExtension(WideView path);

// Characters that a file name cannot contain. Control characters (below U+0020) are forbidden, too.
inline constexpr WideView kNotInNames = TEXT("\\/:*?\"<>|");

// Whether `stem` plus an extension names a file in the folder itself: the characters are allowed, it is not "." or
// "..", and it is no device name. Blanks and dots at the end are allowed because the extension follows.
bool isPlainStem(WideView stem);
