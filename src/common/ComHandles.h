// Owners of what COM and automation hand out.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include "common/Handles.h"

template <typename Interface>
void releaseReference(Interface* object) {
    object->Release();
}
// Owns one reference.
template <typename Interface>
using ComPointer = Guard<ValueTraits<Interface*, releaseReference<Interface>>>;
using TaskText = Guard<ValueTraits<PWSTR, CoTaskMemFree>>;
using SystemString = Guard<ValueTraits<BSTR, SysFreeString>>;

// Thrown by Variant's constructor, which cannot return an HRESULT. Nobody catches it: it ends the process.
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
