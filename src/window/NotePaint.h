// One frame of a note: everything but the text of title and body, which are controls of their own.
#pragma once

#include "notes/NoteRecord.h"
#include "window/Logo.h"
#include "window/NoteLayout.h"

struct NoteFrame {
    const NoteRecord& note;
    const NoteMetrics& metrics;
    Size client;
    const Logo& logo;
    bool closeHover;  // the mouse is over the button
    bool newHover;
    HFONT footerFont;  // null: no footer text
};

// Draws the frame and copies it to `target` in one step. Whatever fails in between is missing in the frame.
void paintNote(HDC target, const NoteFrame& frame);

// As the record says, or derived from its body colour.
COLORREF titleBarColor(const NoteRecord& note);
