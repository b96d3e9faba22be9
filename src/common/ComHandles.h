// Guards for COM interfaces and for the strings and values of COM automation.
#pragma once

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include "common/Handles.h"

template <typename Interface>
void releaseReference(Interface* object) {
    object->Release();
}
// Owns one reference of a COM interface.
template <typename Interface>
using ComPointer = Guard<ValueTraits<Interface*, releaseReference<Interface>>>;
using CoTaskString = Guard<ValueTraits<PWSTR, CoTaskMemFree>>;
using OwnedBstr = Guard<ValueTraits<BSTR, SysFreeString>>;

// Thrown by Variant's constructor, which cannot return an HRESULT. Nothing catches it: it ends the process.
struct ComError {
    HRESULT hr;
};

// Owns a VARIANT, as an argument for a COM automation call.
class Variant {
  public:
    Variant() { VariantInit(&value_); }
    // Throws ComError with E_OUTOFMEMORY when there is no memory for the string.
    explicit Variant(const WCHAR* text) {
        OwnedBstr copy(SysAllocString(text));
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
