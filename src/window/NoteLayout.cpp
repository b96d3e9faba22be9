// The arithmetic of NoteLayout.h: no window call, no state. NoteWindow and NotePaint call it on the main thread.
#include "window/NoteLayout.h"

#include <algorithm>

namespace {

constexpr LONG kSmallestChild = 10;  // pixels, not scaled

bool isImage(Size image) {
    return image.width >= 1 && image.height >= 1;
}

LONG logoHeight(const NoteMetrics& metrics) {
    return std::max<LONG>(metrics.headerHeight - 2 * metrics.logoMargin, 1);
}

LONG maxLogoWidth(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote) {
    return std::max<LONG>(clientWidth - rightReserve(metrics, allowNewNote) - metrics.pad, 1);
}

// The width by which the logo moves the title to the right.
LONG logoWidth(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image) {
    if (!isImage(image)) return 0;
    const double width = static_cast<double>(logoHeight(metrics)) / image.height * image.width;
    const LONG most = maxLogoWidth(metrics, clientWidth, allowNewNote);
    return width >= most ? most : static_cast<LONG>(width);
}

RECT buttonEndingAt(const NoteMetrics& metrics, LONG right) {
    const LONG top = (metrics.headerHeight - metrics.buttonSize) / 2;
    return {right - metrics.buttonSize, top, right, top + metrics.buttonSize};
}

bool contains(const RECT& rect, POINT point) {
    return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
}

// The hit-test code of the resize zone at `point`; HTNOWHERE if it is in none.
LRESULT resizeZone(LONG border, Size client, POINT point) {
    const bool left = point.x < border, right = point.x >= client.width - border;
    const bool top = point.y < border, bottom = point.y >= client.height - border;
    if (left && top) return HTTOPLEFT;
    if (right && top) return HTTOPRIGHT;
    if (left && bottom) return HTBOTTOMLEFT;
    if (right && bottom) return HTBOTTOMRIGHT;
    if (left) return HTLEFT;
    if (right) return HTRIGHT;
    if (top) return HTTOP;
    return bottom ? HTBOTTOM : HTNOWHERE;
}

template <typename Change>
COLORREF eachChannel(COLORREF color, Change change) {
    COLORREF out = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const int channel = static_cast<int>((color >> shift) & 0xff);
        out |= static_cast<COLORREF>(std::clamp(change(channel), 0, 255)) << shift;
    }
    return out;
}

}  // namespace

NoteMetrics NoteMetrics::at(LONG dpi) {
    const auto scaled = [dpi](LONG length) { return scaleToDpi(length, dpi); };
    NoteMetrics metrics = {};
    metrics.dpi = dpi;
    metrics.headerHeight = scaled(26);
    metrics.pad = scaled(10);
    metrics.buttonSize = scaled(20);
    metrics.buttonGap = scaled(4);
    metrics.footerHeight = scaled(20);
    metrics.titleFallbackHeight = scaled(22);
    metrics.logoMargin = scaled(2);
    metrics.glyphInset = scaled(5);
    metrics.resizeBorder = scaled(8);
    metrics.minTrackWidth = scaled(140);
    metrics.minTrackHeight = scaled(120);
    return metrics;
}

TitleMetrics TitleMetrics::unknown(const NoteMetrics& metrics) {
    return {metrics.titleFallbackHeight, 0, metrics.titleFallbackHeight};
}

LONG rightReserve(const NoteMetrics& metrics, bool allowNewNote) {
    return metrics.buttonSize + metrics.pad + (allowNewNote ? metrics.buttonSize + metrics.buttonGap : 0);
}

// A logo that is too wide loses height as well, to keep its proportions.
Place logoPlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image) {
    if (!isImage(image)) return {};
    const LONG height = logoHeight(metrics);
    const LONG most = maxLogoWidth(metrics, clientWidth, allowNewNote);
    const double wanted = image.width * (static_cast<double>(height) / image.height);
    Place place = {metrics.pad, 0, 0, height};
    // An image of extreme proportions can be wider than a LONG can hold.
    const LONG drawWidth = static_cast<LONG>(std::min(wanted, 2147483647.0));
    place.width = std::min(drawWidth, most);
    if (drawWidth > most) place.height = static_cast<LONG>(height * (static_cast<double>(most) / drawWidth));
    place.y = (metrics.headerHeight - place.height) / 2;
    return place;
}

// Centres the capital letters of the title vertically in the bar.
Place titlePlace(const NoteMetrics& metrics, LONG clientWidth, bool allowNewNote, Size image, const TitleMetrics& ink) {
    const LONG logo = logoWidth(metrics, clientWidth, allowNewNote, image);
    Place place;
    place.x = metrics.pad + logo + (logo >= 1 ? metrics.buttonGap : 0);
    place.y = std::max<LONG>((metrics.headerHeight - ink.inkHeight) / 2 - ink.inkTop, 0);
    place.width = std::max(clientWidth - place.x - rightReserve(metrics, allowNewNote), kSmallestChild);
    place.height = std::max<LONG>(ink.lineHeight, 1);
    return place;
}

Place bodyPlace(const NoteMetrics& metrics, Size client) {
    const LONG top = metrics.headerHeight + metrics.buttonGap;
    return {metrics.pad, top, std::max(client.width - 2 * metrics.pad, kSmallestChild),
            std::max(client.height - top - metrics.footerHeight - metrics.pad, kSmallestChild)};
}

RECT closeButton(const NoteMetrics& metrics, LONG clientWidth) {
    return buttonEndingAt(metrics, clientWidth - metrics.pad / 2);
}

RECT newNoteButton(const NoteMetrics& metrics, LONG clientWidth) {
    return buttonEndingAt(metrics, closeButton(metrics, clientWidth).left - metrics.buttonGap);
}

LRESULT hitTest(const NoteMetrics& metrics, Size client, POINT point, bool allowNewNote) {
    if (const LRESULT zone = resizeZone(metrics.resizeBorder, client, point); zone != HTNOWHERE) return zone;
    if (contains(closeButton(metrics, client.width), point)) return HTCLOSE;
    if (allowNewNote && contains(newNoteButton(metrics, client.width), point)) return HT_NEW_NOTE;
    return point.y < metrics.headerHeight ? HTCAPTION : HTCLIENT;
}

COLORREF darkened(COLORREF color, int by) {
    return eachChannel(color, [by](int channel) { return channel - by; });
}

COLORREF lightened(COLORREF color, int by) {
    return eachChannel(color, [by](int channel) { return channel + by; });
}

DWORD argb(COLORREF color) {
    return 0xff000000U | (color & 0xffU) << 16 | (color & 0xff00U) | (color >> 16 & 0xffU);
}

WideString footerText(const WideString& author, const WideString& date) {
    if (author.empty() || date.empty()) return author + date;
    return author + TEXT("  \x2022  ") + date;
}
