// Writes a RichText as RTF. The rich edit control calls it on the thread of its window. Stateless.
#include <algorithm>
#include <cstdio>

#include "controls/CodePages.h"
#include "controls/Rtf.h"

namespace platform {
namespace {

using Colors = std::vector<COLORREF>;

Colors colorsOf(const std::vector<TextRun>& runs) {
    Colors colors;
    for (const TextRun& run : runs)
        if (run.format.color && std::find(colors.begin(), colors.end(), *run.format.color) == colors.end())
            colors.push_back(*run.format.color);
    return colors;
}

// The first entry is empty, so that \cf0 means the control's own colour.
std::string colorTable(const Colors& colors) {
    std::string table = "{\\colortbl;";
    for (const COLORREF color : colors) {
        char entry[48];
        std::snprintf(entry, sizeof entry, "\\red%u\\green%u\\blue%u;", color & 0xffU, (color >> 8) & 0xffU,
                      (color >> 16) & 0xffU);
        table += entry;
    }
    return table + "}\r\n";
}

std::string formatWords(const TextFormat& format, const Colors& colors) {
    std::string words;
    if (format.bold) words += "\\b";
    if (format.italic) words += "\\i";
    if (format.underline) words += "\\ul";
    if (format.strike) words += "\\strike";
    if (format.color) {
        const auto place = std::find(colors.begin(), colors.end(), *format.color) - colors.begin();
        words += "\\cf" + std::to_string(place + 1);
    }
    if (format.halfPoints) words += "\\fs" + std::to_string(*format.halfPoints);
    return words;
}

std::string escaped(char16_t unit) {
    char code[16];
    if (const auto byte = westernByte(unit))
        std::snprintf(code, sizeof code, "\\'%02x", *byte);
    else
        std::snprintf(code, sizeof code, "\\u%d?", static_cast<std::int16_t>(unit));
    return code;
}

std::string written(char16_t unit) {
    switch (unit) {
        case kParagraphEnd:
            return "\\par\r\n";
        case kLineEnd:
            return "\\line\r\n";
        case u'\t':
            return "\\tab ";
        case u'\\':
        case u'{':
        case u'}':
            return {'\\', static_cast<char>(unit)};
        default:
            return unit >= 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : escaped(unit);
    }
}

}  // namespace

// Writes no font table: all text is shown in the control's font.
std::string writeRtf(const RichText& text) {
    const std::vector<TextRun> runs = text.runs();
    const Colors colors = colorsOf(runs);
    std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\uc1\\deff0\r\n" + colorTable(colors) + "\\pard ";
    for (const TextRun& run : runs) {
        const std::string words = formatWords(run.format, colors);
        if (!words.empty()) rtf += "{" + words + " ";
        for (const char16_t unit : run.text)
            rtf += written(unit);
        if (!words.empty()) rtf += "}";
    }
    return rtf + "\\par\r\n}";
}

}  // namespace platform
