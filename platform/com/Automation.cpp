#include <oleauto.h>
#include <winerror.h>

#include <algorithm>
#include <atomic>
#include <string_view>

#include "core/Gate.h"
#include "testing/Faults.h"

using platform::CallSite;

namespace {
std::atomic<std::size_t> strings{0};
std::atomic<std::size_t> variants{0};

void freeString(BSTR text) {
    if (text == nullptr) return;
    --strings;
    delete[] text;
}
}  // namespace

std::size_t platform::faults::openStrings() {
    return strings;
}

std::size_t platform::faults::openVariants() {
    return variants;
}

BSTR SysAllocString(const WCHAR* text) {
    static constinit CallSite site{__func__};
    if (site.fails() || text == nullptr) return nullptr;
    const std::u16string_view view(text);
    const BSTR copy = new WCHAR[view.size() + 1];
    std::copy_n(text, view.size() + 1, copy);
    ++strings;
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
    ++variants;
}

// Of an empty variant or a string, which always succeeds.
HRESULT VariantClear(VARIANTARG* value) {
    static constinit CallSite site{__func__};
    site.pass();
    if (value->vt == VT_BSTR) freeString(value->bstrVal);
    *value = {};
    --variants;
    return S_OK;
}
