// The rich edit control.
#pragma once

#include <windef.h>

#include <wingdi.h>
#include <winuser.h>

#define EM_EXGETSEL (WM_USER + 52)
#define EM_EXLIMITTEXT (WM_USER + 53)
#define EM_EXSETSEL (WM_USER + 55)
#define EM_SETBKGNDCOLOR (WM_USER + 67)
#define EM_SETCHARFORMAT (WM_USER + 68)
#define EM_SETEVENTMASK (WM_USER + 69)
#define EM_STREAMIN (WM_USER + 73)
#define EM_STREAMOUT (WM_USER + 74)

#define ES_SAVESEL 0x00008000
#define ENM_CHANGE 0x00000001
#define SF_RTF 0x0002
#define SCF_DEFAULT 0x0000
#define SCF_SELECTION 0x0001
#define CFM_COLOR 0x40000000
#define CFE_AUTOCOLOR 0x40000000

using EDITSTREAMCALLBACK = DWORD(CALLBACK*)(DWORD_PTR cookie, LPBYTE buffer, LONG bytes, LONG* moved);

#pragma pack(push, 4)
struct EDITSTREAM {
    DWORD_PTR dwCookie;
    DWORD dwError;
    EDITSTREAMCALLBACK pfnCallback;
};
#pragma pack(pop)

struct CHARRANGE {
    LONG cpMin;
    LONG cpMax;
};

struct CHARFORMATW {
    UINT cbSize;
    DWORD dwMask;
    DWORD dwEffects;
    LONG yHeight;
    LONG yOffset;
    COLORREF crTextColor;
    BYTE bCharSet;
    BYTE bPitchAndFamily;
    WCHAR szFaceName[LF_FACESIZE];
};

struct CHARFORMAT2W : CHARFORMATW {
    WORD wWeight;
    std::int16_t sSpacing;
    COLORREF crBackColor;
    DWORD lcid;
    DWORD dwReserved;
    std::int16_t sStyle;
    WORD wKerning;
    BYTE bUnderlineType;
    BYTE bAnimation;
    BYTE bRevAuthor;
    BYTE bUnderlineColor;
};
