// Rich text as RTF: what a note needs of it, which is characters with their weight, slant, lines, colour and size.
// Paragraph layout, pictures, tables and fonts are not kept.
#pragma once

#include <windef.h>

#include <functional>
#include <string>

#include "controls/RichText.h"

namespace platform {

// How reading ended, by the numbers that EDITSTREAM::dwError then has.
constexpr DWORD kRtfOk = 0;
constexpr DWORD kRtfIsNone = static_cast<DWORD>(-16);     // it does not begin as RTF does: there is no text
constexpr DWORD kRtfIsDamaged = static_cast<DWORD>(-14);  // the text is what came before the damage
constexpr DWORD kRtfIsCutShort = 0x80070026;              // it ends inside a group: the text is what came

// Gives the next byte, or -1 at the end.
using RtfBytes = std::function<int()>;

// Reads up to the end of the outermost group, and no byte further. Any bytes will do: time and memory are bounded by
// their number.
DWORD readRtf(const RtfBytes& next, RichText& text);

// 7-bit bytes that readRtf makes the same text of, and then these bytes again.
std::string writeRtf(const RichText& text);

}  // namespace platform
