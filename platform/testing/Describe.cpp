// Describes windows as lines of text, for people and for tests that compare everything at once.
#include <cstdio>

#include "controls/TextControl.h"
#include "core/Encoding.h"
#include "drawing/Surface.h"
#include "testing/Desktop.h"
#include "windows/Window.h"

namespace platform {
namespace {

template <typename... Values>
std::string print(const char* format, Values... values) {
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string described(const FontFace& font) {
    return toUtf8(font.name) + print(" %d %d", font.height, font.weight);
}

std::string described(COLORREF color) {
    return print("%02X%02X%02X", color & 0xFF, color >> 8 & 0xFF, color >> 16 & 0xFF);
}

std::string described(const DrawOp& op) {
    static const char* const kinds[] = {"fill", "line", "text", "image"};
    std::string line =
        kinds[static_cast<int>(op.kind)] + (" " + desktop::describeRect(op.rect)) + print(" %08X", op.color);
    if (op.kind == DrawOp::Kind::Line) line += print(" %.1f", static_cast<double>(op.penWidth));
    if (op.kind == DrawOp::Kind::Text) line += print(" %X ", op.format) + described(op.font) + " " + toUtf8(op.text);
    return line + "\n";
}

// The parent's answer to a control that asks for its colours.
std::string answerOf(const Window& parent, UINT message, HWND control) {
    const HDC context = openContext(nullptr);
    findContext(context)->backMode = TRANSPARENT;
    const LRESULT brush =
        callWindow(parent, message, reinterpret_cast<WPARAM>(context), reinterpret_cast<LPARAM>(control));
    const DeviceContext chosen = *findContext(context);
    closeContext(context);
    const COLORREF* const color = colorOfBrush(reinterpret_cast<HBRUSH>(brush));
    const bool isFilled = color != nullptr && *color == chosen.backColor && chosen.backMode == OPAQUE;
    return described(chosen.textColor) + " on " + described(chosen.backColor) + (isFilled ? "" : ", not filled");
}

std::string described(const Window& parent, const Window& window, const TextControl& control) {
    const LRESULT margins = callWindow(window, EM_GETMARGINS);
    const RichText& text = control.content();
    const std::string editable = answerOf(parent, WM_CTLCOLOREDIT, window.handle);
    const std::string fixed = answerOf(parent, WM_CTLCOLORSTATIC, window.handle);
    std::string line = toUtf8(window.kind->name) + " " + desktop::describeRect(window.rect) + " " +
                       described(faceOf(control.font())) + print(" margins %d %d, ", LOWORD(margins), HIWORD(margins)) +
                       editable + (editable == fixed ? "" : " or " + fixed);
    if (window.kind->name != u"EDIT")
        line += ", itself " + described(control.colorOf({})) + " " +
                described(control.colorOf(text.size() == 0 ? TextFormat() : text.formatAt(0))) + " on " +
                described(control.background());
    return line + "\n";
}

}  // namespace

std::string desktop::describeRect(const RECT& rect) {
    return print("%d,%d-%d,%d", rect.left, rect.top, rect.right, rect.bottom);
}

std::string desktop::describePainting(HWND handle) {
    std::string text;
    const auto window = findWindow(handle);
    if (window == nullptr || window->surface == nullptr) return text;
    for (const DrawOp& op : window->surface->ops)
        text += described(op);
    return text;
}

std::string desktop::describeControls(HWND handle) {
    std::string text;
    const auto window = findWindow(handle);
    if (window == nullptr) return text;
    for (const HWND child : window->children)
        if (const auto found = findWindow(child))
            if (const TextControl* const control = textControlOf(*found)) text += described(*window, *found, *control);
    return text;
}

}  // namespace platform
