// Draws the desktop as an SVG picture: the monitors, the windows in z-order, their painting, and their text controls.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "controls/TextControl.h"
#include "core/Encoding.h"
#include "drawing/Surface.h"
#include "testing/Desktop.h"
#include "windows/Window.h"

namespace platform {
namespace {

template <typename... Values>
std::string print(const char* format, Values... values) {
    char text[512];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string escaped(const std::string& text) {
    std::string out;
    for (const char byte : text) {
        if (byte == '&')
            out += "&amp;";
        else if (byte == '<')
            out += "&lt;";
        else
            out += byte;
    }
    return out;
}

std::string paint(DWORD color) {
    return print("#%06x\" %s-opacity=\"%.2f", color & 0xFFFFFF, "fill", (color >> 24) / 255.0);
}

std::string cssColor(COLORREF color) {
    return print("#%02x%02x%02x", color & 0xFF, color >> 8 & 0xFF, color >> 16 & 0xFF);
}

std::string base64(const std::vector<unsigned char>& bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            out += i + k > bytes.size() ? '=' : kAlphabet[group >> (18 - 6 * k) & 63];
    }
    return out;
}

std::string draw(const DrawOp& op) {
    const RECT& at = op.rect;
    const std::string box =
        print("x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\"", at.left, at.top, widthOf(at), heightOf(at));
    switch (op.kind) {
        case DrawOp::Kind::Fill:
            return "<rect " + box + " fill=\"" + paint(op.color) + "\"/>\n";
        case DrawOp::Kind::Line:
            return print(
                "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#%06x\" stroke-opacity=\"%.2f\" "
                "stroke-width=\"%.1f\"/>\n",
                at.left + .5, at.top + .5, at.right + .5, at.bottom + .5, op.color & 0xFFFFFF, (op.color >> 24) / 255.0,
                static_cast<double>(op.penWidth));
        case DrawOp::Kind::Text:
            return print("<text x=\"%d\" y=\"%d\" font-size=\"%d\" font-weight=\"%d\" fill=\"#%06x\">", at.left,
                         (at.top + at.bottom) / 2 + op.font.height / 3, op.font.height, op.font.weight,
                         op.color & 0xFFFFFF) +
                   escaped(toUtf8(op.text)) + "</text>\n";
        case DrawOp::Kind::Image:
            return "<image " + box + " href=\"data:" + op.image->mediaType + ";base64," + base64(op.image->bytes) +
                   "\"/>\n";
    }
    return {};
}

// The parent chooses the colours of an EDIT.
struct ControlColors {
    COLORREF background, text;
};

ControlColors colorsOf(const Window& window, const TextControl& control) {
    const auto parent = window.kind->name == u"EDIT" ? findWindow(window.parent) : nullptr;
    if (parent == nullptr) return {control.background(), control.colorOf({})};
    const HDC context = openContext(nullptr);
    callWindow(*parent, control.isReadOnly() ? WM_CTLCOLORSTATIC : WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(context),
               reinterpret_cast<LPARAM>(window.handle));
    const DeviceContext* const chosen = findContext(context);
    const ControlColors colors = {chosen->backColor, chosen->textColor};
    closeContext(context);
    return colors;
}

std::string styleOf(const TextFormat& format) {
    std::string style;
    if (format.bold) style += "font-weight:bold;";
    if (format.italic) style += "font-style:italic;";
    if (format.underline || format.strike)
        style += std::string("text-decoration:") + (format.underline ? "underline " : "") +
                 (format.strike ? "line-through" : "") + ";";
    return style;
}

// The browser wraps the lines.
std::string drawControl(const Window& window) {
    const TextControl* const control = textControlOf(window);
    if (control == nullptr) return {};
    const ControlColors colors = colorsOf(window, *control);
    const FontFace font = faceOf(control->font());
    std::string html;
    for (const TextRun& run : control->content().runs()) {
        std::string text;
        for (const char byte : escaped(toUtf8(std::u16string(run.text))))
            text += byte == '\r' || byte == '\v' ? '\n' : byte;
        const COLORREF color = run.format.color.value_or(colors.text);
        html += "<span style=\"color:" + cssColor(color) + ";" + styleOf(run.format) + "\">" + text + "</span>";
    }
    const RECT& at = window.rect;
    return print(
               "<foreignObject x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\"><div "
               "xmlns=\"http://www.w3.org/1999/xhtml\" style=\"width:100%%;height:100%%;overflow:hidden;"
               "white-space:pre-wrap;line-height:1.25;background:%s;font-size:%dpx;font-weight:%d\">",
               at.left, at.top, widthOf(at), heightOf(at), cssColor(colors.background).c_str(), font.height,
               font.weight) +
           html + "</div></foreignObject>\n";
}

std::string drawWindow(const Window& window) {
    const RECT& at = window.rect;
    std::string text =
        print("<svg x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\">\n", at.left, at.top, widthOf(at), heightOf(at));
    if (window.surface != nullptr)
        for (const DrawOp& op : window.surface->ops)
            text += draw(op);
    for (const HWND handle : window.children)
        if (const auto child = findWindow(handle)) text += drawControl(*child);
    return text + "</svg>\n";
}

}  // namespace

std::string desktop::picture() {
    RECT all = {};
    std::string screens;
    for (const Monitor& monitor : monitors()) {
        const RECT& at = monitor.bounds;
        all = {std::min(all.left, at.left), std::min(all.top, at.top), std::max(all.right, at.right),
               std::max(all.bottom, at.bottom)};
        screens += print("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"#3a6ea5\"/>\n", at.left, at.top,
                         widthOf(at), heightOf(at));
    }
    std::string text = print(
                           "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"%d %d %d %d\" "
                           "font-family=\"Segoe UI, Open Sans, sans-serif\">\n",
                           all.left, all.top, widthOf(all), heightOf(all)) +
                       screens;
    const auto windows = topLevelWindows();
    for (auto window = windows.rbegin(); window != windows.rend(); ++window)
        if ((*window)->visible) text += drawWindow(**window);
    return text + "</svg>\n";
}

}  // namespace platform
