#include "window/NoteText.h"

namespace {

WideString withLineEnds(WideView text, WideView end) {
    WideString out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const WCHAR unit = text[i];
        if (unit == TEXT('\r') && i + 1 < text.size() && text[i + 1] == TEXT('\n')) ++i;
        if (unit == TEXT('\r') || unit == TEXT('\n'))
            out += end;
        else
            out += unit;
    }
    return out;
}

}  // namespace

WideString normalizeToCrLf(WideView text) {
    return withLineEnds(text, TEXT("\r\n"));
}

WideString normalizeToLf(WideView text) {
    return withLineEnds(text, TEXT("\n"));
}
