// Any text: a colour that is read is written in a form that reads back as the same colour.
#include <cstdint>
#include <cstdlib>

#include "notes/NoteRecord.h"
#include "notes/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    COLORREF color = 0xFFFFFFFF, again = 0;
    if (!parseColor(utf8ToWide(reinterpret_cast<const char*>(data), size), color)) {
        if (color != 0xFFFFFFFF) std::abort();
        return 0;
    }
    if ((color >> 24) != 0 || !parseColor(formatColor(color), again) || again != color) std::abort();
    return 0;
}
