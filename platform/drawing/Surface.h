// Where drawing lands: not in pixels, but in a list of exact operations, in the order in which they were made.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace platform {

struct ImageData {
    std::vector<unsigned char> bytes;  // of the file, as it was read
    std::string mediaType;
    LONG width = 0;
    LONG height = 0;
};

struct FontFace {
    std::u16string name;
    LONG height = 0;  // of the letters, in pixels
    LONG weight = 400;
};

struct DrawOp {
    enum class Kind { Fill, Line, Text, Image };
    Kind kind = Kind::Fill;
    RECT rect = {};      // a line runs from its top left to its bottom right
    DWORD color = 0;     // ARGB
    float penWidth = 0;  // of a line
    std::u16string text;
    UINT format = 0;  // of a text: DT_...
    FontFace font;
    std::shared_ptr<const ImageData> image;
};

struct Surface {
    LONG width = 0;
    LONG height = 0;
    std::vector<DrawOp> ops;
};

// What a DC draws on, and with what.
struct DeviceContext {
    std::shared_ptr<Surface> surface;  // null for the screen and for a fresh memory DC: nothing is kept
    HGDIOBJ bitmap = nullptr;
    HGDIOBJ font = nullptr;
    COLORREF textColor = 0;
    COLORREF backColor = 0xFFFFFF;
    int backMode = OPAQUE;
};

// Null, with ERROR_INVALID_HANDLE, for what is no DC.
DeviceContext* findContext(HDC context);
HDC openContext(std::shared_ptr<Surface> surface);
bool closeContext(HDC context);
// The font as it was asked for; that of the system for what is no font.
FontFace faceOf(HGDIOBJ font);
// Null for what is no brush.
const COLORREF* colorOfBrush(HBRUSH brush);

// Null for bytes that are no image of a known kind.
std::shared_ptr<const ImageData> decodeImage(std::vector<unsigned char> bytes);

}  // namespace platform
