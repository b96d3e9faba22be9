// The flat GDI+ API. The product paints with it on the thread of the window. Each call adds a drawing operation to the
// surface of a device context.
#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "com/Com.h"
#include "core/Counts.h"
#include "core/Gate.h"
#include "drawing/Surface.h"
#include "machine/NativePath.h"

namespace Gdiplus {

struct GpGraphics {
    std::shared_ptr<platform::Surface> surface;
};
struct GpPen {
    DWORD color = 0;
    float width = 0;
};
struct GpImage {
    std::shared_ptr<const platform::ImageData> data;
};

}  // namespace Gdiplus

using namespace Gdiplus;
using namespace platform;

namespace {

template <typename Thing>
Status give(Thing** out, Thing thing) {
    *out = new Thing(std::move(thing));
    countOpened(Open::GdiPlusObjects);
    return Ok;
}

template <typename Thing>
Status take(Thing* thing) {
    if (thing == nullptr) return InvalidParameter;
    delete thing;
    countClosed(Open::GdiPlusObjects);
    return Ok;
}

Status draw(GpGraphics* graphics, DrawOp op) {
    if (graphics == nullptr) return InvalidParameter;
    if (graphics->surface != nullptr) graphics->surface->ops.push_back(std::move(op));
    return Ok;
}

Status makeImage(std::vector<unsigned char> bytes, GpImage** image) {
    auto data = decodeImage(std::move(bytes));
    return data == nullptr ? GenericError : give(image, GpImage{std::move(data)});
}

}  // namespace

GpStatus Gdiplus::GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input, GdiplusStartupOutput*) {
    static constinit CallSite site{__func__};
    if (site.fails()) return GenericError;
    if (input->GdiplusVersion != 1) return UnsupportedGdiplusVersion;
    countOpened(Open::GdiPlus);
    *token = 0x1000 + countOf(Open::GdiPlus);
    return Ok;
}

// Objects that are still open would later be freed by a library that has shut down, which is undefined behaviour. So
// this aborts.
void Gdiplus::GdiplusShutdown(ULONG_PTR) {
    static constinit CallSite site{__func__};
    site.pass();
    const std::size_t left = countOf(Open::GdiPlusObjects);
    if (countClosed(Open::GdiPlus) > 0 || left == 0) return;
    std::fprintf(stderr, "GdiplusShutdown: %zu objects are left\n", left);
    std::abort();
}

namespace Gdiplus::DllExports {

void* GdipAlloc(std::size_t bytes) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    countOpened(Open::GdiPlusObjects);
    return ::operator new(bytes);
}

void GdipFree(void* memory) {
    static constinit CallSite site{__func__};
    site.pass();
    if (memory == nullptr) return;
    ::operator delete(memory);
    countClosed(Open::GdiPlusObjects);
}

GpStatus GdipCreateFromHDC(HDC context, GpGraphics** graphics) {
    static constinit CallSite site{__func__};
    const DeviceContext* const target = site.fails() ? nullptr : findContext(context);
    return target == nullptr ? GenericError : give(graphics, GpGraphics{target->surface});
}

GpStatus GdipDeleteGraphics(GpGraphics* graphics) {
    static constinit CallSite site{__func__};
    site.pass();
    return take(graphics);
}

// Does nothing: surfaces have no pixels to smooth.
GpStatus GdipSetSmoothingMode(GpGraphics* graphics, SmoothingMode) {
    static constinit CallSite site{__func__};
    return site.fails() || graphics == nullptr ? GenericError : Ok;
}

GpStatus GdipSetTextRenderingHint(GpGraphics* graphics, TextRenderingHint) {
    static constinit CallSite site{__func__};
    return site.fails() || graphics == nullptr ? GenericError : Ok;
}

GpStatus GdipSetInterpolationMode(GpGraphics* graphics, InterpolationMode) {
    static constinit CallSite site{__func__};
    return site.fails() || graphics == nullptr ? GenericError : Ok;
}

GpStatus GdipCreateSolidFill(ARGB color, GpSolidFill** brush) {
    static constinit CallSite site{__func__};
    if (site.fails()) return GenericError;
    GpSolidFill fill;
    fill.color = color;
    return give(brush, fill);
}

GpStatus GdipDeleteBrush(GpBrush* brush) {
    static constinit CallSite site{__func__};
    site.pass();
    return take(static_cast<GpSolidFill*>(brush));
}

GpStatus GdipCreatePen1(ARGB color, REAL width, GpUnit, GpPen** pen) {
    static constinit CallSite site{__func__};
    if (site.fails()) return GenericError;
    return give(pen, GpPen{color, width});
}

GpStatus GdipDeletePen(GpPen* pen) {
    static constinit CallSite site{__func__};
    site.pass();
    return take(pen);
}

GpStatus GdipFillRectangleI(GpGraphics* graphics, GpBrush* brush, INT x, INT y, INT width, INT height) {
    static constinit CallSite site{__func__};
    if (site.fails() || brush == nullptr) return GenericError;
    DrawOp op;
    op.rect = {x, y, x + width, y + height};
    op.color = static_cast<GpSolidFill*>(brush)->color;
    return draw(graphics, std::move(op));
}

GpStatus GdipDrawLineI(GpGraphics* graphics, GpPen* pen, INT x1, INT y1, INT x2, INT y2) {
    static constinit CallSite site{__func__};
    if (site.fails() || pen == nullptr) return GenericError;
    DrawOp op;
    op.kind = DrawOp::Kind::Line;
    op.rect = {x1, y1, x2, y2};
    op.color = pen->color;
    op.penWidth = pen->width;
    return draw(graphics, std::move(op));
}

GpStatus GdipDrawImageRectI(GpGraphics* graphics, GpImage* image, INT x, INT y, INT width, INT height) {
    static constinit CallSite site{__func__};
    if (site.fails() || image == nullptr) return GenericError;
    DrawOp op;
    op.kind = DrawOp::Kind::Image;
    op.rect = {x, y, x + width, y + height};
    op.image = image->data;
    return draw(graphics, std::move(op));
}

GpStatus GdipLoadImageFromFile(const WCHAR* path, GpImage** image) {
    static constinit CallSite site{__func__};
    std::string native;
    if (site.fails() || !nativePath(path, native)) return GenericError;
    std::ifstream file(native, std::ios::binary);
    return makeImage(std::vector<unsigned char>(std::istreambuf_iterator<char>(file), {}), image);
}

GpStatus GdipLoadImageFromStream(IStream* stream, GpImage** image) {
    static constinit CallSite site{__func__};
    if (site.fails()) return GenericError;
    return makeImage(bytesOf(stream), image);
}

GpStatus GdipDisposeImage(GpImage* image) {
    static constinit CallSite site{__func__};
    site.pass();
    return take(image);
}

GpStatus GdipGetImageWidth(GpImage* image, UINT* width) {
    static constinit CallSite site{__func__};
    if (site.fails() || image == nullptr) return GenericError;
    *width = static_cast<UINT>(image->data->width);
    return Ok;
}

GpStatus GdipGetImageHeight(GpImage* image, UINT* height) {
    static constinit CallSite site{__func__};
    if (site.fails() || image == nullptr) return GenericError;
    *height = static_cast<UINT>(image->data->height);
    return Ok;
}

}  // namespace Gdiplus::DllExports
