// GDI+: startup, shutdown and the flat API.
#pragma once

#include <objidl.h>
#include <windef.h>

namespace Gdiplus {

enum Status { Ok = 0, GenericError = 1, InvalidParameter = 2, UnsupportedGdiplusVersion = 17 };
enum SmoothingMode { SmoothingModeAntiAlias = 4 };
enum TextRenderingHint { TextRenderingHintClearTypeGridFit = 5 };
enum InterpolationMode { InterpolationModeHighQualityBicubic = 7 };
enum Unit { UnitWorld = 0 };
using GpStatus = Status;
using GpUnit = Unit;
using ARGB = DWORD;
using REAL = float;

struct GpGraphics;
struct GpPen;
struct GpImage;
struct GpBrush {
    ARGB color = 0;
};
struct GpSolidFill : GpBrush {};

struct GdiplusStartupInput {
    std::uint32_t GdiplusVersion = 1;
    void* DebugEventCallback = nullptr;
    BOOL SuppressBackgroundThread = FALSE;
    BOOL SuppressExternalCodecs = FALSE;
};
struct GdiplusStartupOutput;

GpStatus GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input, GdiplusStartupOutput* output);
void GdiplusShutdown(ULONG_PTR token);

namespace DllExports {

void* GdipAlloc(std::size_t bytes);
void GdipFree(void* memory);

GpStatus GdipCreateFromHDC(HDC context, GpGraphics** graphics);
GpStatus GdipDeleteGraphics(GpGraphics* graphics);
GpStatus GdipSetSmoothingMode(GpGraphics* graphics, SmoothingMode mode);
GpStatus GdipSetTextRenderingHint(GpGraphics* graphics, TextRenderingHint hint);
GpStatus GdipSetInterpolationMode(GpGraphics* graphics, InterpolationMode mode);
GpStatus GdipCreateSolidFill(ARGB color, GpSolidFill** brush);
GpStatus GdipDeleteBrush(GpBrush* brush);
GpStatus GdipCreatePen1(ARGB color, REAL width, GpUnit unit, GpPen** pen);
GpStatus GdipDeletePen(GpPen* pen);
GpStatus GdipFillRectangleI(GpGraphics* graphics, GpBrush* brush, INT x, INT y, INT width, INT height);
GpStatus GdipDrawLineI(GpGraphics* graphics, GpPen* pen, INT x1, INT y1, INT x2, INT y2);
GpStatus GdipDrawImageRectI(GpGraphics* graphics, GpImage* image, INT x, INT y, INT width, INT height);

GpStatus GdipLoadImageFromFile(const WCHAR* path, GpImage** image);
GpStatus GdipLoadImageFromStream(IStream* stream, GpImage** image);
GpStatus GdipDisposeImage(GpImage* image);
GpStatus GdipGetImageWidth(GpImage* image, UINT* width);
GpStatus GdipGetImageHeight(GpImage* image, UINT* height);

}  // namespace DllExports
}  // namespace Gdiplus
