// BSTR and VARIANT functions.
#pragma once

#include <oaidl.h>

BSTR SysAllocString(const WCHAR* text);
void SysFreeString(BSTR text);
void VariantInit(VARIANTARG* value);
HRESULT VariantClear(VARIANTARG* value);
