// Drawing contexts, bitmaps, brushes and fonts.
#include <map>
#include <mutex>
#include <utility>
#include <variant>

#include "core/Counts.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "drawing/Surface.h"
#include "windows/Monitors.h"
#include "windows/Window.h"

namespace platform {
namespace {

using GdiObject = std::variant<std::shared_ptr<Surface>, COLORREF, FontFace>;

// Handle values are never reused. Several threads may draw at once, each its own windows.
struct Gdi {
    std::mutex lock;
    std::map<HDC, DeviceContext> contexts;
    std::map<HGDIOBJ, GdiObject> objects;
    ULONG_PTR next = 0x50000;
};

Gdi& gdi() {
    static Gdi& instance = *new Gdi;
    return instance;
}

template <typename Handle>
Handle nextHandle() {
    return reinterpret_cast<Handle>(gdi().next += 4);
}

template <typename Kind>
Kind* findObject(HGDIOBJ object) {
    std::lock_guard hold(gdi().lock);
    const auto found = gdi().objects.find(object);
    return found == gdi().objects.end() ? nullptr : std::get_if<Kind>(&found->second);
}

HGDIOBJ addObject(GdiObject object) {
    std::lock_guard hold(gdi().lock);
    const HGDIOBJ handle = nextHandle<HGDIOBJ>();
    gdi().objects.emplace(handle, std::move(object));
    countOpened(Open::GdiObjects);
    return handle;
}

// The metrics of Segoe UI in 1/2048 em: ascent 2210, descent 514, capital height 1434.
LONG ofFont(const FontFace& font, LONG units) {
    return (font.height * units + 1024) / 2048;
}
constexpr LONG kAscent = 2210, kDescent = 514, kCapital = 1434, kCapitalWidth = 1245;

}  // namespace

DeviceContext* findContext(HDC context) {
    std::lock_guard hold(gdi().lock);
    const auto found = gdi().contexts.find(context);
    if (found != gdi().contexts.end()) return &found->second;
    return refuse(ERROR_INVALID_HANDLE);
}

HDC openContext(std::shared_ptr<Surface> surface) {
    std::lock_guard hold(gdi().lock);
    const HDC handle = nextHandle<HDC>();
    gdi().contexts[handle].surface = std::move(surface);
    countOpened(Open::GdiObjects);
    return handle;
}

bool closeContext(HDC context) {
    std::lock_guard hold(gdi().lock);
    if (gdi().contexts.erase(context) == 0) return false;
    countClosed(Open::GdiObjects);
    return true;
}

FontFace faceOf(HGDIOBJ font) {
    const FontFace* const face = findObject<FontFace>(font);
    return face == nullptr ? FontFace{u"System", 16, 700} : *face;
}

const COLORREF* colorOfBrush(HBRUSH brush) {
    return findObject<COLORREF>(brush);
}

}  // namespace platform

using namespace platform;

HDC GetDC(HWND) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return openContext(nullptr);
}

int ReleaseDC(HWND, HDC context) {
    static constinit CallSite site{__func__};
    if (site.fails()) {
        closeContext(context);
        return 0;
    }
    return closeContext(context);
}

// The screen reports the DPI of the primary monitor.
int GetDeviceCaps(HDC, int index) {
    static constinit CallSite site{__func__};
    if (site.fails() || index != LOGPIXELSX) return 0;
    return dpiOfScreen();
}

HDC CreateCompatibleDC(HDC) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return openContext(nullptr);
}

BOOL DeleteDC(HDC context) {
    static constinit CallSite site{__func__};
    if (site.fails()) {
        closeContext(context);
        return FALSE;
    }
    return closeContext(context);
}

HBITMAP CreateCompatibleBitmap(HDC, int width, int height) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    auto surface = std::make_shared<Surface>();
    surface->width = width;
    surface->height = height;
    return static_cast<HBITMAP>(addObject(std::move(surface)));
}

HBRUSH CreateSolidBrush(COLORREF color) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    return static_cast<HBRUSH>(addObject(color));
}

HFONT CreateFontIndirectW(const LOGFONTW* wanted) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const LONG height = wanted->lfHeight < 0 ? -wanted->lfHeight : wanted->lfHeight;
    return static_cast<HFONT>(addObject(FontFace{wanted->lfFaceName, height, wanted->lfWeight}));
}

BOOL DeleteObject(HGDIOBJ object) {
    static constinit CallSite site{__func__};
    const bool fails = site.fails();
    std::lock_guard hold(gdi().lock);
    if (gdi().objects.erase(object) == 0) return FALSE;
    countClosed(Open::GdiObjects);
    return !fails;
}

HGDIOBJ SelectObject(HDC context, HGDIOBJ object) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    static int stock;  // stands for the stock objects of a new DC, which cannot be deleted
    DeviceContext* const target = findContext(context);
    if (target == nullptr) return nullptr;
    const auto* const surface = findObject<std::shared_ptr<Surface>>(object);
    HGDIOBJ& slot = surface != nullptr ? target->bitmap : target->font;
    if (surface != nullptr) target->surface = *surface;
    const HGDIOBJ before = slot == nullptr ? &stock : slot;
    slot = object == &stock ? nullptr : object;
    return before;
}

COLORREF SetTextColor(HDC context, COLORREF color) {
    static constinit CallSite site{__func__};
    DeviceContext* const target = site.fails() ? nullptr : findContext(context);
    return target == nullptr ? 0xFFFFFFFF : std::exchange(target->textColor, color);
}

COLORREF SetBkColor(HDC context, COLORREF color) {
    static constinit CallSite site{__func__};
    DeviceContext* const target = site.fails() ? nullptr : findContext(context);
    return target == nullptr ? 0xFFFFFFFF : std::exchange(target->backColor, color);
}

int SetBkMode(HDC context, int mode) {
    static constinit CallSite site{__func__};
    DeviceContext* const target = site.fails() ? nullptr : findContext(context);
    return target == nullptr ? 0 : std::exchange(target->backMode, mode);
}

int DrawTextW(HDC context, LPCWSTR text, int units, LPRECT rect, UINT format) {
    static constinit CallSite site{__func__};
    DeviceContext* const target = site.fails() ? nullptr : findContext(context);
    if (target == nullptr) return 0;
    DrawOp op;
    op.kind = DrawOp::Kind::Text;
    op.rect = *rect;
    const COLORREF color = target->textColor;
    op.color = 0xFF000000U | (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
    op.text.assign(text, static_cast<std::size_t>(units));
    op.format = format;
    op.font = faceOf(target->font);
    const LONG height = ofFont(op.font, kAscent) + ofFont(op.font, kDescent);
    if (target->surface != nullptr) target->surface->ops.push_back(std::move(op));
    return height;
}

BOOL GetTextMetricsW(HDC context, TEXTMETRICW* metrics) {
    static constinit CallSite site{__func__};
    const DeviceContext* const source = site.fails() ? nullptr : findContext(context);
    if (source == nullptr) return FALSE;
    const FontFace font = faceOf(source->font);
    *metrics = {};
    metrics->tmAscent = ofFont(font, kAscent);
    metrics->tmDescent = ofFont(font, kDescent);
    metrics->tmHeight = metrics->tmAscent + metrics->tmDescent;
    metrics->tmInternalLeading = metrics->tmHeight - font.height;
    metrics->tmWeight = font.weight;
    return TRUE;
}

// Every glyph is as large as a capital letter.
DWORD GetGlyphOutlineW(HDC context, UINT, UINT, GLYPHMETRICS* metrics, DWORD, LPVOID, const MAT2*) {
    static constinit CallSite site{__func__};
    const DeviceContext* const source = site.fails() ? nullptr : findContext(context);
    if (source == nullptr) return GDI_ERROR;
    const FontFace font = faceOf(source->font);
    *metrics = {};
    metrics->gmBlackBoxX = static_cast<UINT>(ofFont(font, kCapitalWidth));
    metrics->gmBlackBoxY = static_cast<UINT>(ofFont(font, kCapital));
    metrics->gmptGlyphOrigin = {0, static_cast<LONG>(metrics->gmBlackBoxY)};
    metrics->gmCellIncX = static_cast<short>(metrics->gmBlackBoxX);
    return 0;
}

// Copies whole surfaces only; the product needs no more.
BOOL BitBlt(HDC to, int x, int y, int width, int height, HDC from, int sourceX, int sourceY, DWORD operation) {
    static constinit CallSite site{__func__};
    const DeviceContext* const source = site.fails() ? nullptr : findContext(from);
    DeviceContext* const target = source == nullptr ? nullptr : findContext(to);
    if (target == nullptr) return FALSE;
    if (x != 0 || y != 0 || sourceX != 0 || sourceY != 0 || operation != SRCCOPY || source->surface == nullptr)
        return refuse(ERROR_INVALID_PARAMETER);
    if (target->surface != nullptr) *target->surface = {width, height, source->surface->ops};
    return TRUE;
}

HDC BeginPaint(HWND handle, PAINTSTRUCT* paint) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return nullptr;
    *paint = {};
    window->invalid = false;
    if (window->surface == nullptr) window->surface = std::make_shared<Surface>();
    paint->hdc = openContext(window->surface);
    paint->rcPaint = {0, 0, widthOf(window->rect), heightOf(window->rect)};
    paint->fErase = callWindow(*window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(paint->hdc)) == 0;
    return paint->hdc;
}

BOOL EndPaint(HWND, const PAINTSTRUCT* paint) {
    static constinit CallSite site{__func__};
    site.pass();
    closeContext(paint->hdc);
    return TRUE;
}

BOOL InvalidateRect(HWND handle, LPCRECT, BOOL) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const std::shared_ptr<Window> window = findWindow(handle);
    if (window == nullptr) return FALSE;
    window->invalid = true;
    return TRUE;
}
