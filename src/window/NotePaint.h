// Paints a note, except the text of title and body, which are child controls.
#pragma once

#include "notes/NoteRecord.h"
#include "window/Logo.h"
#include "window/NoteLayout.h"

struct NoteFrame {
    const NoteRecord& note;
    const NoteMetrics& metrics;
    Size client;
    const Logo& logo;
    bool closeHover;   // the mouse is over the close button
    bool newHover;     // the mouse is over the new-note button
    HFONT footerFont;  // null: no footer text
};

// Draws into a memory bitmap, then copies it to `target` at once. If a call fails, what it would have drawn is missing.
void paintNote(HDC target, const NoteFrame& frame);

// The colour of the title bar: from the record, or derived from the body colour.
COLORREF titleBarColor(const NoteRecord& note);
