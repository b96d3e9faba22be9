// Guards for GDI objects and device contexts.
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

// The device context of a window (of the screen for null) for the length of a scope. get() is null when GetDC fails.
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

// Selects a GDI object into a device context for the length of a scope, then selects the previous one again. Does
// nothing for a null object.
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
