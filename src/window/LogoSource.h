// What the `logo` of a note stands for: the name of an image file, or the image itself as base64 text. Without any
// image call.
#pragma once

#include <string>
#include <vector>

#include "common/WideText.h"

// The file that the value names in the folder of logos; empty when it names none. An empty value names the default
// logo, if there is one. Asks `fileExists` (path to bool) only for what can be a file name.
template <typename FileExists>
WideString logoFile(const WideString& folder, const WideString& logo, FileExists fileExists);

// The value as base64 text: without the head of a data URI ("data:" to the first comma) and without blanks and line
// ends.
WideString logoBase64(const WideString& logo);

// The bytes of base64 text; "=" or "-" ends it. Empty for an empty text and for one with a character outside the
// alphabet. The length need not be a multiple of four; bits that are left over are dropped.
std::vector<BYTE> decodeBase64(WideView text);

// Details of the template.
std::vector<WideString> logoCandidates(const WideString& folder, const WideString& logo);

template <typename FileExists>
WideString logoFile(const WideString& folder, const WideString& logo, FileExists fileExists) {
    for (WideString& path : logoCandidates(folder, logo))
        if (fileExists(path)) return std::move(path);
    return {};
}
