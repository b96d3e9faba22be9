// The geometry and the colours of a note: bands, controls, buttons, hit test. Plain functions in pixels of the client
// area. Lengths are defined at 96 DPI and scaled to the window's DPI.
//
// From top to bottom: a title bar with logo, title and buttons, a line, the body, a line, the footer. The window has no
// frame: the pixels along its edges resize it.
#pragma once

#include "window/Placement.h"

struct NoteMetrics {
    LONG dpi;
    LONG headerHeight;  // height of the title bar
    LONG pad;           // margin beside logo, title, body and footer text, and below the body
    LONG buttonSize;    // side of each of the two buttons, which are square
    LONG buttonGap;     // between the buttons, between logo and title, between title bar and body
    LONG footerHeight;
    LONG titleFallbackHeight;  // height of the title if its font cannot be measured
    LONG logoMargin;           // above and below the logo
    LONG glyphInset;           // from the edge of a button to its cross or plus
    LONG resizeBorder;         // depth of the resize zones along the edges
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

// The measured font of the title: its line height, and where the capital letters are within a line.
struct TitleMetrics {
    LONG lineHeight;
    LONG inkTop;     // from the top of the line to the top of an "H"
    LONG inkHeight;  // of an "H"

    static TitleMetrics unknown(const NoteMetrics& metrics);
};

// The width at the right end of the title bar that logo and title leave free for the buttons.
LONG rightReserve(const NoteMetrics& metrics, bool allowNewNote);

// `image` is the logo's size in pixels; a size below 1 by 1 means that there is no logo.
Place logoPlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image);
Place titlePlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image, const TitleMetrics& ink);
Place bodyPlace(const NoteMetrics& metrics, Size client);

RECT closeButton(const NoteMetrics& metrics, LONG clientWidth);
RECT newNoteButton(const NoteMetrics& metrics, LONG clientWidth);

constexpr LRESULT HT_NEW_NOTE = 256;
// Returns a hit-test code of Windows, or HT_NEW_NOTE. The resize zones win over the buttons.
LRESULT hitTest(const NoteMetrics& metrics, Size client, POINT point, bool allowNewNote);

// Colours. Each channel is limited to 0 to 255.
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
constexpr DWORD kStrokeColor = 0xDC1E1E1E;  // ARGB
constexpr DWORD kHoverColor = 0x3C000000;   // ARGB
// The opaque ARGB colour for GDI+.
DWORD argb(COLORREF color);

// Author and date with a bullet between them; only one of them if the other is empty.
WideString footerText(const WideString& author, const WideString& date);
