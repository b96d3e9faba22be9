// What a DC draws on: a list of exact drawing operations in call order instead of pixels.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace platform {

struct ImageData {
    std::vector<unsigned char> bytes;  // the file content, unchanged
    std::string mediaType;
    LONG width = 0;
    LONG height = 0;
};

struct FontFace {
    std::u16string name;
    LONG height = 0;  // letter height in pixels
    LONG weight = 400;
};

struct DrawOp {
    enum class Kind { Fill, Line, Text, Image };
    Kind kind = Kind::Fill;
    RECT rect = {};      // for a line: from the top left to the bottom right
    DWORD color = 0;     // ARGB
    float penWidth = 0;  // lines only
    std::u16string text;
    UINT format = 0;  // text only: DT_...
    FontFace font;
    std::shared_ptr<const ImageData> image;
};

struct Surface {
    LONG width = 0;
    LONG height = 0;
    std::vector<DrawOp> ops;
};

// A device context: its surface and the selected objects.
struct DeviceContext {
    std::shared_ptr<Surface> surface;  // null for the screen and for a new memory DC: drawing is discarded
    HGDIOBJ bitmap = nullptr;
    HGDIOBJ font = nullptr;
    COLORREF textColor = 0;
    COLORREF backColor = 0xFFFFFF;
    int backMode = OPAQUE;
};

// Null, with ERROR_INVALID_HANDLE, if the handle is not a DC.
DeviceContext* findContext(HDC context);
HDC openContext(std::shared_ptr<Surface> surface);
bool closeContext(HDC context);
// The font as requested; the system font if the handle is not a font.
FontFace faceOf(HGDIOBJ font);
// Null if the handle is not a brush.
const COLORREF* colorOfBrush(HBRUSH brush);

// Null if the bytes are not an image of a supported format.
std::shared_ptr<const ImageData> decodeImage(std::vector<unsigned char> bytes);

}  // namespace platform
