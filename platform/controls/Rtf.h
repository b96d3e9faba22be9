// Rich text as RTF. Keeps what a note needs: characters with bold, italic, underline, strike-through, colour and size.
// Drops paragraph layout, pictures, tables and fonts.
#pragma once

#include <windef.h>

#include <functional>
#include <string>

#include "controls/RichText.h"

namespace platform {

// The result of reading. EDITSTREAM::dwError gets these values.
constexpr DWORD kRtfOk = 0;
constexpr DWORD kRtfIsNone = static_cast<DWORD>(-16);     // not RTF: there is no text
constexpr DWORD kRtfIsDamaged = static_cast<DWORD>(-14);  // the text is what came before the damage
constexpr DWORD kRtfIsCutShort = 0x80070026;              // the data ends inside a group: the text is what came before

// Returns the next byte, or -1 at the end.
using RtfBytes = std::function<int()>;

// Reads up to the end of the outermost group and not a byte further. Accepts any input: time and memory grow linearly
// with the number of bytes.
DWORD readRtf(const RtfBytes& next, RichText& text);

// Writes 7-bit RTF. readRtf returns the same text for it, and writing that text again gives the same bytes.
std::string writeRtf(const RichText& text);

}  // namespace platform
