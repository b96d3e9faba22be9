// What a note looks like: its bands, buttons, colours, and what lies under each point. Plain arithmetic on pixels of
// the client area; a length is given at 96 DPI and scaled to the window's.
//
// From the top: a title bar with the logo, the title and the buttons, a line, the body, a line, the footer. There is no
// frame; the margins of the window resize it.
#pragma once

#include "window/Placement.h"

struct NoteMetrics {
    LONG dpi;
    LONG headerHeight;  // of the title bar
    LONG pad;           // side margin of logo, title and body; under the body; of the footer's text
    LONG buttonSize;    // of the close button and of the new-note button
    LONG buttonGap;     // between the buttons, between logo and title, between title bar and body
    LONG footerHeight;
    LONG titleFallbackHeight;  // of the title where its font cannot be measured
    LONG logoMargin;           // above and below the logo
    LONG glyphInset;           // of the strokes in their button
    LONG resizeBorder;         // depth of the resize zones
    LONG minTrackWidth, minTrackHeight;

    static NoteMetrics at(LONG dpi);
    float strokeWidth() const { return static_cast<float>(scaleToDpi(1, dpi)) + 0.5F; }
};

struct Size {
    LONG width = 0;
    LONG height = 0;
};

struct Place {
    LONG x = 0, y = 0, width = 0, height = 0;
    bool operator==(const Place&) const = default;
};

// The font of the title: the height of its lines, and where in a line its capitals lie.
struct TitleMetrics {
    LONG lineHeight;
    LONG inkTop;
    LONG inkHeight;

    static TitleMetrics unknown(const NoteMetrics& metrics);
};

// Kept free at the right of the title bar.
LONG rightReserve(const NoteMetrics& metrics, bool allowNewNote);

// An image whose size is not at least 1 by 1 is none.
Place logoPlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image);
Place titlePlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image, const TitleMetrics& ink);
Place bodyPlace(const NoteMetrics& metrics, Size client);

RECT closeButton(const NoteMetrics& metrics, LONG clientWidth);
RECT newNoteButton(const NoteMetrics& metrics, LONG clientWidth);

constexpr LRESULT HT_NEW_NOTE = 256;
// A hit-test code of the system, or HT_NEW_NOTE. The resize zones win over the buttons.
LRESULT hitTest(const NoteMetrics& metrics, Size client, POINT point, bool allowNewNote);

// Colours. Channels stop at 0 and at 255.
COLORREF darkened(COLORREF color, int by);
COLORREF lightened(COLORREF color, int by);
inline COLORREF derivedTitleBarColor(COLORREF body) {
    return darkened(body, 18);
}
inline COLORREF titleLineColor(COLORREF titleBar) {
    return darkened(titleBar, 17);
}
inline COLORREF footerLineColor(COLORREF body) {
    return darkened(body, 35);
}
constexpr COLORREF kFooterTextColor = 0x505050;
constexpr DWORD kStrokeColor = 0xDC1E1E1E;  // ARGB, as the next
constexpr DWORD kHoverColor = 0x3C000000;
// Opaque, for GDI+.
DWORD argb(COLORREF color);

// Author and date with a bullet between them; either may be empty.
WideString footerText(const WideString& author, const WideString& date);
