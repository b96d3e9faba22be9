#include <windows.h>

#include <gdiplus.h>

#include <atomic>

#include "Faults.h"
#include "Gate.h"

using platform::CallSite;

namespace {
std::atomic<ULONG_PTR> started{0};
}

std::size_t platform::faults::openDrawing() {
    return started;
}

Gdiplus::GpStatus Gdiplus::GdiplusStartup(ULONG_PTR* token, const GdiplusStartupInput* input, GdiplusStartupOutput*) {
    static constinit CallSite site{__func__};
    if (site.fails()) return GenericError;
    if (input->GdiplusVersion != 1) return UnsupportedGdiplusVersion;
    *token = 0x1000 + ++started;
    return Ok;
}

void Gdiplus::GdiplusShutdown(ULONG_PTR) {
    static constinit CallSite site{__func__};
    site.pass();
    --started;
}
