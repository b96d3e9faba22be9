// Automation: BSTR, VARIANT and IDispatch.
#pragma once

#include <objidl.h>

using BSTR = WCHAR*;  // a string from SysAllocString; null counts as empty
using VARIANT_BOOL = std::int16_t;
using VARTYPE = USHORT;
using DATE = double;  // days since 30 December 1899
using DISPID = LONG;
using LCID = DWORD;

#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

enum VARENUM { VT_EMPTY = 0, VT_I4 = 3, VT_BSTR = 8 };

// Only the members that the product uses, padded to the real size.
struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONG lVal;
        BSTR bstrVal;
        void* words[2];
    };
};
using VARIANTARG = VARIANT;

struct ITypeInfo;
struct DISPPARAMS;
struct EXCEPINFO;

struct IDispatch : IUnknown {
    virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
    virtual HRESULT GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) = 0;
    virtual HRESULT Invoke(DISPID member, REFIID id, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                           EXCEPINFO* exception, UINT* argument) = 0;

  protected:
    ~IDispatch() = default;
};
