// Path arithmetic on text. Nothing here asks the file system.
#pragma once

#include "common/WideText.h"

// `right` behind `left` with one "\" between them, unless `left` ends in "\" or "/". Either may be empty: the
// result is then the other. Nothing is normalised, and a separator at the head of `right` stays.
WideString joinPath(WideView left, WideView right);

// The text before the last "\" or "/"; a drive root keeps its separator, so that the parent of C:\x is C:\.
// Empty when there is no separator, or only one at the head.
WideString parentPath(WideView path);

// The text behind the last "\" or "/", or the whole path.
WideString leafName(WideView path);

// The text behind the last dot of the leaf name, A to Z lower-cased, without the dot. Empty when there is no dot,
// or only one at the head of the name (".json" has no extension).
WideString lowerExtension(WideView path);

// What no file name can hold, besides the control characters (below U+0020).
inline constexpr WideView kNotInNames = TEXT("\\/:*?\"<>|");

// Whether a file of this name, with an extension behind it, lies in the folder that it is looked for in: the name can
// be one, it is no step to another folder, and no device answers to it. Blanks and dots at its end are allowed, since
// the extension follows.
bool isPlainStem(WideView stem);
