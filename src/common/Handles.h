// Owners of what the platform hands out. Every handle, key and block of memory is held by one of these from the
// line that made it, so that each path releases it.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <gdiplus.h>
#include <objbase.h>
#include <oleauto.h>
#include <wtsapi32.h>

// Owns one raw value. Moving empties the source; assigning and reset() release what was held before. Releasing
// keeps the calling thread's last error, so that a failure can be read after the owner is gone.
template <typename Traits>
class Guard {
  public:
    using Raw = typename Traits::Raw;

    Guard() = default;
    explicit Guard(Raw raw) noexcept : raw_(raw) {}
    Guard(Guard&& other) noexcept : raw_(other.release()) {}
    Guard& operator=(Guard&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~Guard() { reset(); }

    explicit operator bool() const noexcept { return !Traits::isEmpty(raw_); }
    Raw get() const noexcept { return raw_; }
    // For calls that fill an out-parameter; what was held is released first.
    Raw* put() noexcept {
        reset();
        return &raw_;
    }
    [[nodiscard]] Raw release() noexcept {
        const Raw raw = raw_;
        raw_ = Traits::none();
        return raw;
    }
    void reset(Raw raw = Traits::none()) noexcept {
        if (!Traits::isEmpty(raw_)) {
            const DWORD lastError = GetLastError();
            Traits::close(raw_);
            SetLastError(lastError);
        }
        raw_ = raw;
    }

  private:
    Raw raw_ = Traits::none();
};

struct FileTraits {
    using Raw = HANDLE;
    static Raw none() { return INVALID_HANDLE_VALUE; }
    static bool isEmpty(Raw raw) { return raw == INVALID_HANDLE_VALUE || raw == nullptr; }
    static void close(Raw raw) { CloseHandle(raw); }
};

template <typename Pointer, auto Close>
struct PointerTraits {
    using Raw = Pointer;
    static Raw none() { return nullptr; }
    static bool isEmpty(Raw raw) { return raw == nullptr; }
    static void close(Raw raw) { Close(raw); }
};

struct InstanceMutexTraits {
    using Raw = HANDLE;
    static Raw none() { return nullptr; }
    static bool isEmpty(Raw raw) { return raw == nullptr; }
    static void close(Raw raw) {
        ReleaseMutex(raw);  // fails unnoticed where another process owns it
        CloseHandle(raw);
    }
};

struct DrawingTraits {
    using Raw = ULONG_PTR;
    static Raw none() { return 0; }
    static bool isEmpty(Raw raw) { return raw == 0; }
    static void close(Raw raw) { Gdiplus::GdiplusShutdown(raw); }
};

// Owns one reference.
template <typename Interface>
struct ReferenceTraits {
    using Raw = Interface*;
    static Raw none() { return nullptr; }
    static bool isEmpty(Raw raw) { return raw == nullptr; }
    static void close(Raw raw) { raw->Release(); }
};

struct FindTraits {
    using Raw = HANDLE;
    static Raw none() { return INVALID_HANDLE_VALUE; }
    static bool isEmpty(Raw raw) { return raw == INVALID_HANDLE_VALUE; }
    static void close(Raw raw) { FindClose(raw); }
};

using FileHandle = Guard<FileTraits>;
using WaitHandle = Guard<PointerTraits<HANDLE, CloseHandle>>;  // events, threads and processes
using FindHandle = Guard<FindTraits>;
using InstanceMutex = Guard<InstanceMutexTraits>;
using DrawingToken = Guard<DrawingTraits>;
using RegistryKey = Guard<PointerTraits<HKEY, RegCloseKey>>;
using LocalBlock = Guard<PointerTraits<void*, LocalFree>>;
using ArgumentArray = Guard<PointerTraits<LPWSTR*, LocalFree>>;
using TaskText = Guard<PointerTraits<PWSTR, CoTaskMemFree>>;
using SessionText = Guard<PointerTraits<LPWSTR, WTSFreeMemory>>;
using SystemString = Guard<PointerTraits<BSTR, SysFreeString>>;
using AllocatedSid = Guard<PointerTraits<PSID, FreeSid>>;
template <typename Interface>
using ComPointer = Guard<ReferenceTraits<Interface>>;

// The failure of a COM value that is made where no result can be returned. It is what the COM support of compilers
// throws there as well; nobody catches it, so that it ends the process.
struct ComError {
    HRESULT hr;
};

// An argument of automation, released with the scope; get() lends it.
class Variant {
  public:
    Variant() { VariantInit(&value_); }
    // Raises ComError with E_OUTOFMEMORY when the string cannot be had.
    explicit Variant(const WCHAR* text) {
        SystemString copy(SysAllocString(text));
        if (!copy) throw ComError{E_OUTOFMEMORY};
        VariantInit(&value_);
        value_.vt = VT_BSTR;
        value_.bstrVal = copy.release();
    }
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    const VARIANT& get() const { return value_; }

  private:
    VARIANT value_;
};

template <typename Object>
void deleteObject(Object object) {
    DeleteObject(object);
}
using Bitmap = Guard<PointerTraits<HBITMAP, deleteObject<HBITMAP>>>;
using Brush = Guard<PointerTraits<HBRUSH, deleteObject<HBRUSH>>>;
using Font = Guard<PointerTraits<HFONT, deleteObject<HFONT>>>;
using MemoryDc = Guard<PointerTraits<HDC, DeleteDC>>;

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
class Selected {
  public:
    Selected(HDC context, HGDIOBJ object)
        : context_(context), before_(object == nullptr ? nullptr : SelectObject(context, object)) {}
    ~Selected() {
        if (before_ != nullptr) SelectObject(context_, before_);
    }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;

  private:
    HDC context_;
    HGDIOBJ before_;
};

// Holds a critical section for the length of a scope.
class CriticalSectionLock {
  public:
    explicit CriticalSectionLock(CRITICAL_SECTION& section) : section_(section) { EnterCriticalSection(&section_); }
    ~CriticalSectionLock() { LeaveCriticalSection(&section_); }
    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

  private:
    CRITICAL_SECTION& section_;
};
