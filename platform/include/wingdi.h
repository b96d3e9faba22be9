// GDI.
#pragma once

#include <windef.h>

#define RGB(red, green, blue) (static_cast<COLORREF>((red) | (green) << 8 | (blue) << 16))
#define LOGPIXELSX 88
#define TRANSPARENT 1
#define OPAQUE 2
#define SRCCOPY 0x00CC0020U
#define DEFAULT_CHARSET 1
#define CLEARTYPE_QUALITY 5
#define GGO_METRICS 0U
#define GDI_ERROR 0xFFFFFFFFU
#define LF_FACESIZE 32

struct LOGFONTW {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    WCHAR lfFaceName[LF_FACESIZE];
};

struct TEXTMETRICW {
    LONG tmHeight;
    LONG tmAscent;
    LONG tmDescent;
    LONG tmInternalLeading;
    LONG tmExternalLeading;
    LONG tmAveCharWidth;
    LONG tmMaxCharWidth;
    LONG tmWeight;
    LONG tmOverhang;
    LONG tmDigitizedAspectX;
    LONG tmDigitizedAspectY;
    WCHAR tmFirstChar;
    WCHAR tmLastChar;
    WCHAR tmDefaultChar;
    WCHAR tmBreakChar;
    BYTE tmItalic;
    BYTE tmUnderlined;
    BYTE tmStruckOut;
    BYTE tmPitchAndFamily;
    BYTE tmCharSet;
};

struct GLYPHMETRICS {
    UINT gmBlackBoxX;
    UINT gmBlackBoxY;
    POINT gmptGlyphOrigin;
    short gmCellIncX;
    short gmCellIncY;
};

struct FIXED {
    WORD fract;
    short value;
};
struct MAT2 {
    FIXED eM11;
    FIXED eM12;
    FIXED eM21;
    FIXED eM22;
};

int GetDeviceCaps(HDC context, int index);
HDC CreateCompatibleDC(HDC context);
BOOL DeleteDC(HDC context);
HBITMAP CreateCompatibleBitmap(HDC context, int width, int height);
HBRUSH CreateSolidBrush(COLORREF color);
HFONT CreateFontIndirectW(const LOGFONTW* wanted);
BOOL DeleteObject(HGDIOBJ object);
HGDIOBJ SelectObject(HDC context, HGDIOBJ object);
COLORREF SetTextColor(HDC context, COLORREF color);
COLORREF SetBkColor(HDC context, COLORREF color);
int SetBkMode(HDC context, int mode);
BOOL GetTextMetricsW(HDC context, TEXTMETRICW* metrics);
DWORD GetGlyphOutlineW(HDC context, UINT character, UINT format, GLYPHMETRICS* metrics, DWORD bytes, LPVOID buffer,
                       const MAT2* matrix);
BOOL BitBlt(HDC to, int x, int y, int width, int height, HDC from, int sourceX, int sourceY, DWORD operation);
