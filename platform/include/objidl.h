// COM objects.
#pragma once

#include <windef.h>

struct IUnknown {
    virtual HRESULT QueryInterface(const GUID& id, void** object) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

  protected:
    ~IUnknown() = default;
};

// A byte stream. The product only passes it on and never reads it.
struct IStream : IUnknown {
  protected:
    ~IStream() = default;
};
