// Strings and variants of automation.
#pragma once

#include <oaidl.h>

BSTR SysAllocString(const WCHAR* text);
void SysFreeString(BSTR text);
void VariantInit(VARIANTARG* value);
HRESULT VariantClear(VARIANTARG* value);
