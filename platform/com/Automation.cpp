// BSTR and VARIANT functions. Called by the product on any thread; the counters are atomic.
#include <oleauto.h>
#include <winerror.h>

#include <algorithm>
#include <string_view>

#include "core/Counts.h"
#include "core/Gate.h"

using namespace platform;

namespace {

void freeString(BSTR text) {
    if (text == nullptr) return;
    countClosed(Open::Strings);
    delete[] text;
}
}  // namespace

BSTR SysAllocString(const WCHAR* text) {
    static constinit CallSite site{__func__};
    if (site.fails() || text == nullptr) return nullptr;
    const std::u16string_view view(text);
    const BSTR copy = new WCHAR[view.size() + 1];
    std::copy_n(text, view.size() + 1, copy);
    countOpened(Open::Strings);
    return copy;
}

void SysFreeString(BSTR text) {
    static constinit CallSite site{__func__};
    site.pass();
    freeString(text);
}

void VariantInit(VARIANTARG* value) {
    static constinit CallSite site{__func__};
    site.pass();
    *value = {};
    countOpened(Open::Variants);
}

// Handles only empty variants and strings. Always succeeds.
HRESULT VariantClear(VARIANTARG* value) {
    static constinit CallSite site{__func__};
    site.pass();
    if (value->vt == VT_BSTR) freeString(value->bstrVal);
    *value = {};
    countClosed(Open::Variants);
    return S_OK;
}
