// How the `logo` member of a note is read: as the name of an image file, or as the image in base64. Plain functions; no
// image is decoded here.
#pragma once

#include <string>
#include <vector>

#include "common/WideText.h"

// The path of the image file that `logo` names in `folder`; empty when there is none. An empty `logo` means the default
// logo. `fileExists` maps a path to bool and is only called for values that can be a file name.
template <typename FileExists>
WideString logoFile(const WideString& folder, const WideString& logo, FileExists fileExists);

// The base64 text in the value: without the start of a data URI ("data:" up to the first comma), blanks and line ends.
WideString logoBase64(const WideString& logo);

// Decodes base64 text up to the first "=" or "-". Empty for an empty text, and if a character is not in the alphabet.
// The length need not be a multiple of four; left-over bits are dropped.
std::vector<BYTE> decodeBase64(WideView text);

// Used by the template: the paths to try.
std::vector<WideString> logoCandidates(const WideString& folder, const WideString& logo);

template <typename FileExists>
WideString logoFile(const WideString& folder, const WideString& logo, FileExists fileExists) {
    for (WideString& path : logoCandidates(folder, logo))
        if (fileExists(path)) return std::move(path);
    return {};
}
