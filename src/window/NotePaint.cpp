// Paints a note into a memory bitmap with GDI+ and GDI. Called from WM_PAINT, on the main thread.
#include "window/NotePaint.h"

#include "common/DrawingHandles.h"

namespace flat = Gdiplus::DllExports;

namespace {

using Graphics = Guard<ValueTraits<Gdiplus::GpGraphics*, flat::GdipDeleteGraphics>>;
using PaintBrush = Guard<ValueTraits<Gdiplus::GpBrush*, flat::GdipDeleteBrush>>;
using Pen = Guard<ValueTraits<Gdiplus::GpPen*, flat::GdipDeletePen>>;

// Draws with GDI+ into a device context. A failed call draws nothing; the rest is still drawn.
class Canvas {
  public:
    explicit Canvas(HDC target) {
        flat::GdipCreateFromHDC(target, graphics_.put());
        flat::GdipSetSmoothingMode(graphics_.get(), Gdiplus::SmoothingModeAntiAlias);
        flat::GdipSetTextRenderingHint(graphics_.get(), Gdiplus::TextRenderingHintClearTypeGridFit);
    }
    void fill(const RECT& rect, DWORD color) {
        Gdiplus::GpSolidFill* fill = nullptr;
        if (flat::GdipCreateSolidFill(color, &fill) != Gdiplus::Ok) return;
        const PaintBrush brush(fill);
        flat::GdipFillRectangleI(graphics_.get(), brush.get(), rect.left, rect.top, widthOf(rect), heightOf(rect));
    }
    void line(POINT from, POINT to, DWORD color, float width) {
        Pen pen;
        if (flat::GdipCreatePen1(color, width, Gdiplus::UnitWorld, pen.put()) != Gdiplus::Ok) return;
        flat::GdipDrawLineI(graphics_.get(), pen.get(), from.x, from.y, to.x, to.y);
    }
    void image(const Logo& logo, const Place& place) {
        flat::GdipSetInterpolationMode(graphics_.get(), Gdiplus::InterpolationModeHighQualityBicubic);
        flat::GdipDrawImageRectI(graphics_.get(), logo.get()->image, place.x, place.y, place.width, place.height);
    }

  private:
    Graphics graphics_;
};

RECT inset(const RECT& rect, LONG by) {
    return {rect.left + by, rect.top + by, rect.right - by, rect.bottom - by};
}

void paintBands(Canvas& canvas, const NoteFrame& frame) {
    const auto [width, height] = frame.client;
    const LONG header = frame.metrics.headerHeight, footerTop = height - frame.metrics.footerHeight;
    const COLORREF titleBar = titleBarColor(frame.note);
    canvas.fill({0, 0, width, height}, argb(frame.note.bgColor));
    canvas.fill({0, 0, width, header}, argb(titleBar));
    canvas.line({0, header - 1}, {width, header - 1}, argb(titleLineColor(titleBar)), 1.0F);
    canvas.line({0, footerTop}, {width, footerTop}, argb(footerLineColor(frame.note.bgColor)), 1.0F);
}

void paintLogo(Canvas& canvas, const NoteFrame& frame) {
    const Size size = sizeOf(frame.logo);
    if (size.width < 1 || size.height < 1) return;
    canvas.image(frame.logo, logoPlace(frame.metrics, frame.client.width, frame.note.allowNewNote, size));
}

void paintCloseButton(Canvas& canvas, const NoteFrame& frame) {
    const RECT button = closeButton(frame.metrics, frame.client.width);
    const RECT cross = inset(button, frame.metrics.glyphInset);
    const float stroke = frame.metrics.strokeWidth();
    if (frame.closeHover) canvas.fill(button, kHoverColor);
    canvas.line({cross.left, cross.top}, {cross.right, cross.bottom}, kStrokeColor, stroke);
    canvas.line({cross.right, cross.top}, {cross.left, cross.bottom}, kStrokeColor, stroke);
}

void paintNewNoteButton(Canvas& canvas, const NoteFrame& frame) {
    const RECT button = newNoteButton(frame.metrics, frame.client.width);
    const RECT plus = inset(button, frame.metrics.glyphInset);
    const LONG row = (button.top + button.bottom) / 2, column = (button.left + button.right) / 2;
    const float stroke = frame.metrics.strokeWidth();
    if (frame.newHover) canvas.fill(button, kHoverColor);
    canvas.line({plus.left, row}, {plus.right, row}, kStrokeColor, stroke);
    canvas.line({column, plus.top}, {column, plus.bottom}, kStrokeColor, stroke);
}

// The local date in the user's short format; empty if the time is not valid.
WideString localDate(const SYSTEMTIME& utc) {
    FILETIME time = {}, localTime = {};
    SYSTEMTIME local = {};
    WCHAR date[64] = {};
    if (!SystemTimeToFileTime(&utc, &time) || !FileTimeToLocalFileTime(&time, &localTime) ||
        !FileTimeToSystemTime(&localTime, &local))
        return {};
    if (GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &local, nullptr, date, 64, nullptr) == 0) return {};
    return date;
}

void paintFooter(HDC target, const NoteFrame& frame) {
    const WideString text = footerText(frame.note.author, localDate(frame.note.created));
    if (text.empty() || frame.footerFont == nullptr) return;
    RECT place = {frame.metrics.pad, frame.client.height - frame.metrics.footerHeight,
                  frame.client.width - frame.metrics.pad, frame.client.height};
    const SelectScope font(target, frame.footerFont);
    SetBkMode(target, TRANSPARENT);
    SetTextColor(target, kFooterTextColor);
    DrawTextW(target, text.c_str(), static_cast<int>(text.size()), &place,
              DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
}

}  // namespace

COLORREF titleBarColor(const NoteRecord& note) {
    return note.titleBarBGColorSet ? note.titleBarBGColor : derivedTitleBarColor(note.bgColor);
}

void paintNote(HDC target, const NoteFrame& frame) {
    const MemoryDc memory(CreateCompatibleDC(target));
    const Bitmap bitmap(CreateCompatibleBitmap(target, frame.client.width, frame.client.height));
    const SelectScope surface(memory.get(), bitmap.get());
    {
        Canvas canvas(memory.get());
        paintBands(canvas, frame);
        paintLogo(canvas, frame);
        paintCloseButton(canvas, frame);
        if (frame.note.allowNewNote) paintNewNoteButton(canvas, frame);
    }
    paintFooter(memory.get(), frame);
    BitBlt(target, 0, 0, frame.client.width, frame.client.height, memory.get(), 0, 0, SRCCOPY);
}
