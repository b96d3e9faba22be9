// Owners of what GDI hands out.
#pragma once

#include <windows.h>

#include "common/Handles.h"

template <typename Object>
void deleteObject(Object object) {
    DeleteObject(object);
}
using Bitmap = Guard<ValueTraits<HBITMAP, deleteObject<HBITMAP>>>;
using Brush = Guard<ValueTraits<HBRUSH, deleteObject<HBRUSH>>>;
using Font = Guard<ValueTraits<HFONT, deleteObject<HFONT>>>;
using MemoryDc = Guard<ValueTraits<HDC, DeleteDC>>;

// The DC of a window for the length of a scope; null when the system has none to give.
class WindowDc {
  public:
    explicit WindowDc(HWND window) : window_(window), context_(GetDC(window)) {}
    ~WindowDc() {
        if (context_ != nullptr) ReleaseDC(window_, context_);
    }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    HDC get() const { return context_; }

  private:
    HWND window_;
    HDC context_;
};

// An object is selected into a DC for the length of a scope, then what was selected before. It takes a null object as
// none.
class SelectScope {
  public:
    SelectScope(HDC context, HGDIOBJ object)
        : context_(context), before_(object == nullptr ? nullptr : SelectObject(context, object)) {}
    ~SelectScope() {
        if (before_ != nullptr) SelectObject(context_, before_);
    }
    SelectScope(const SelectScope&) = delete;
    SelectScope& operator=(const SelectScope&) = delete;

  private:
    HDC context_;
    HGDIOBJ before_;
};
