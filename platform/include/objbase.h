// COM.
#pragma once

#include <objidl.h>
#include <windef.h>

enum CLSCTX : DWORD { CLSCTX_INPROC_SERVER = 0x1 };
enum COINIT : DWORD { COINIT_APARTMENTTHREADED = 0x2, COINIT_DISABLE_OLE1DDE = 0x4 };

HRESULT CoInitializeEx(LPVOID reserved, DWORD model);
void CoUninitialize();
HRESULT CoCreateInstance(REFCLSID id, IUnknown* outer, DWORD context, REFIID interfaceId, LPVOID* object);
HRESULT CoCreateGuid(GUID* guid);
int StringFromGUID2(REFGUID guid, LPOLESTR text, int capacity);
void CoTaskMemFree(LPVOID memory);
HRESULT CreateStreamOnHGlobal(HGLOBAL memory, BOOL deleteOnRelease, IStream** stream);
