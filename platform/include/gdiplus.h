// GDI+.
#pragma once

#include <windef.h>

namespace Gdiplus {

enum Status { Ok = 0, GenericError = 1, UnsupportedGdiplusVersion = 17 };
using GpStatus = Status;

struct GdiplusStartupInput {
    std::uint32_t GdiplusVersion = 1;
    void* DebugEventCallback = nullptr;
    BOOL SuppressBackgroundThread = FALSE;
    BOOL SuppressExternalCodecs = FALSE;
};
struct GdiplusStartupOutput;

GpStatus GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input, GdiplusStartupOutput* output);
void GdiplusShutdown(ULONG_PTR token);

}  // namespace Gdiplus
