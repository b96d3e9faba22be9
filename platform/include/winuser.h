// Windows and messages.
#pragma once

#include <windef.h>

#define MB_ICONWARNING 0x00000030U
#define MB_ICONINFORMATION 0x00000040U
#define IDOK 1
#define RT_RCDATA MAKEINTRESOURCEW(10)

#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_MOVE 0x0003
#define WM_SIZE 0x0005
#define WM_ACTIVATE 0x0006
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_ERASEBKGND 0x0014
#define WM_ENDSESSION 0x0016
#define ENDSESSION_CLOSEAPP 0x00000001
#define WM_SHOWWINDOW 0x0018
#define WM_SETTINGCHANGE 0x001A
#define WM_SETCURSOR 0x0020
#define WM_MOUSEACTIVATE 0x0021
#define WM_GETMINMAXINFO 0x0024
#define WM_SETFONT 0x0030
#define WM_QUERYENDSESSION 0x0011
#define WM_WINDOWPOSCHANGING 0x0046
#define WM_WINDOWPOSCHANGED 0x0047
#define WM_DISPLAYCHANGE 0x007E
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_NCHITTEST 0x0084
#define WM_NCMOUSEMOVE 0x00A0
#define WM_NCLBUTTONDOWN 0x00A1
#define WM_NCLBUTTONUP 0x00A2
#define WM_KEYDOWN 0x0100
#define WM_CHAR 0x0102
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_CTLCOLOREDIT 0x0133
#define WM_CTLCOLORSTATIC 0x0138
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_LBUTTONDBLCLK 0x0203
#define WM_ENTERSIZEMOVE 0x0231
#define WM_EXITSIZEMOVE 0x0232
#define WM_NCMOUSELEAVE 0x02A2
#define WM_DPICHANGED 0x02E0
#define WM_USER 0x0400
#define WM_APP 0x8000

#define EM_GETSEL 0x00B0
#define EM_SETSEL 0x00B1
#define EM_SETREADONLY 0x00CF
#define EM_SETMARGINS 0x00D3
#define EM_GETMARGINS 0x00D4
#define EN_SETFOCUS 0x0100
#define EN_KILLFOCUS 0x0200
#define EN_CHANGE 0x0300
#define EN_UPDATE 0x0400
#define EN_MAXTEXT 0x0501
#define EC_LEFTMARGIN 0x0001
#define EC_RIGHTMARGIN 0x0002
#define ES_MULTILINE 0x0004
#define ES_AUTOVSCROLL 0x0040
#define ES_AUTOHSCROLL 0x0080
#define ES_NOHIDESEL 0x0100
#define ES_READONLY 0x0800
#define ES_WANTRETURN 0x1000
#define VK_DELETE 0x2E

#define HTNOWHERE 0
#define HTCLIENT 1
#define HTCAPTION 2
#define HTLEFT 10
#define HTRIGHT 11
#define HTTOP 12
#define HTTOPLEFT 13
#define HTTOPRIGHT 14
#define HTBOTTOM 15
#define HTBOTTOMLEFT 16
#define HTBOTTOMRIGHT 17
#define HTCLOSE 20

#define WA_INACTIVE 0
#define WA_ACTIVE 1
#define WA_CLICKACTIVE 2
#define MA_ACTIVATE 1
#define SIZE_RESTORED 0

#define CS_VREDRAW 0x0001U
#define CS_HREDRAW 0x0002U
#define CS_DBLCLKS 0x0008U
#define CS_DROPSHADOW 0x00020000U

#define WS_POPUP 0x80000000U
#define WS_CHILD 0x40000000U
#define WS_VISIBLE 0x10000000U
#define WS_CLIPCHILDREN 0x02000000U
#define WS_VSCROLL 0x00200000U
#define WS_EX_TOPMOST 0x00000008U
#define WS_EX_TOOLWINDOW 0x00000080U

#define SW_SHOWNOACTIVATE 4

#define SWP_NOSIZE 0x0001U
#define SWP_NOMOVE 0x0002U
#define SWP_NOZORDER 0x0004U
#define SWP_NOACTIVATE 0x0010U
#define SWP_SHOWWINDOW 0x0040U

#define GWLP_USERDATA (-21)
#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)

#define HWND_MESSAGE (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3)))
#define HWND_TOP (reinterpret_cast<HWND>(static_cast<LONG_PTR>(0)))
#define HWND_TOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)))

#define PM_REMOVE 0x0001U

#define IDC_ARROW MAKEINTRESOURCEW(32512)
#define IDC_IBEAM MAKEINTRESOURCEW(32513)

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1

#define MONITOR_DEFAULTTONULL 0U
#define MONITOR_DEFAULTTOPRIMARY 1U
#define MONITOR_DEFAULTTONEAREST 2U
#define MONITORINFOF_PRIMARY 1U

#define BSF_IGNORECURRENTTASK 0x00000002U
#define BSF_POSTMESSAGE 0x00000010U
#define BSM_APPLICATIONS 0x00000008U

using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using TIMERPROC = void(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD);
using MONITORENUMPROC = BOOL(CALLBACK*)(HMONITOR, HDC, LPRECT, LPARAM);

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};
using LPMSG = MSG*;

struct WNDCLASSEXW {
    UINT cbSize;
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCWSTR lpszMenuName;
    LPCWSTR lpszClassName;
    HICON hIconSm;
};

struct CREATESTRUCTW {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCWSTR lpszName;
    LPCWSTR lpszClass;
    DWORD dwExStyle;
};

struct WINDOWPOS {
    HWND hwnd;
    HWND hwndInsertAfter;
    int x;
    int y;
    int cx;
    int cy;
    UINT flags;
};

struct MINMAXINFO {
    POINT ptReserved;
    POINT ptMaxSize;
    POINT ptMaxPosition;
    POINT ptMinTrackSize;
    POINT ptMaxTrackSize;
};

struct MONITORINFO {
    DWORD cbSize;
    RECT rcMonitor;
    RECT rcWork;
    DWORD dwFlags;
};
using LPMONITORINFO = MONITORINFO*;

#define CCHDEVICENAME 32
struct MONITORINFOEXW : MONITORINFO {
    WCHAR szDevice[CCHDEVICENAME];
};

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);

ATOM RegisterClassExW(const WNDCLASSEXW* description);
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR text, DWORD style, int x, int y, int width, int height,
                     HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter);
BOOL DestroyWindow(HWND window);
BOOL IsWindow(HWND window);
BOOL ShowWindow(HWND window, int how);
BOOL UpdateWindow(HWND window);
BOOL SetWindowPos(HWND window, HWND insertAfter, int x, int y, int width, int height, UINT flags);
BOOL GetWindowRect(HWND window, LPRECT rect);
LONG GetWindowLongW(HWND window, int index);
LONG_PTR GetWindowLongPtrW(HWND window, int index);
LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
HWND FindWindowExW(HWND parent, HWND after, LPCWSTR className, LPCWSTR text);
HWND GetParent(HWND window);
HWND GetShellWindow();
DWORD GetWindowThreadProcessId(HWND window, LPDWORD processId);
HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR name);
HCURSOR SetCursor(HCURSOR cursor);
BOOL SetWindowTextW(HWND window, LPCWSTR text);
int GetWindowTextW(HWND window, LPWSTR text, int capacity);
int GetWindowTextLengthW(HWND window);

LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
void PostQuitMessage(int exitCode);
BOOL GetMessageW(LPMSG message, HWND window, UINT first, UINT last);
BOOL PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT how);
BOOL TranslateMessage(const MSG* message);
LRESULT DispatchMessageW(const MSG* message);
UINT RegisterWindowMessageW(LPCWSTR name);
LONG BroadcastSystemMessageW(DWORD flags, LPDWORD recipients, UINT message, WPARAM wParam, LPARAM lParam);

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT periodMs, TIMERPROC callback);
BOOL KillTimer(HWND window, UINT_PTR id);

HMONITOR MonitorFromRect(LPCRECT rect, DWORD otherwise);
HMONITOR MonitorFromWindow(HWND window, DWORD otherwise);
BOOL GetMonitorInfoW(HMONITOR monitor, LPMONITORINFO info);
BOOL EnumDisplayMonitors(HDC context, LPCRECT clip, MONITORENUMPROC callback, LPARAM parameter);
int GetSystemMetrics(int index);

struct PAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint;
    BOOL fRestore;
    BOOL fIncUpdate;
    BYTE rgbReserved[32];
};

#define DT_VCENTER 0x00000004U
#define DT_SINGLELINE 0x00000020U
#define DT_NOPREFIX 0x00000800U
#define DT_END_ELLIPSIS 0x00008000U

#define TME_LEAVE 0x00000002U
#define TME_NONCLIENT 0x00000010U

struct TRACKMOUSEEVENT {
    DWORD cbSize;
    DWORD dwFlags;
    HWND hwndTrack;
    DWORD dwHoverTime;
};

HDC BeginPaint(HWND window, PAINTSTRUCT* paint);
BOOL EndPaint(HWND window, const PAINTSTRUCT* paint);
BOOL InvalidateRect(HWND window, LPCRECT rect, BOOL erase);
int DrawTextW(HDC context, LPCWSTR text, int units, LPRECT rect, UINT format);
BOOL GetClientRect(HWND window, LPRECT rect);
BOOL ScreenToClient(HWND window, LPPOINT point);
BOOL TrackMouseEvent(TRACKMOUSEEVENT* track);
BOOL ReleaseCapture();

HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC context);
