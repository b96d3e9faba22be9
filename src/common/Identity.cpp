#include "common/Identity.h"

#include <objbase.h>

WideString currentUserName() {
    WCHAR name[256];
    DWORD units = 256;  // in: the capacity; out: the length with its terminator
    if (!GetUserNameW(name, &units) || units <= 1) return WideString();
    return WideString(name, units - 1);
}

WideString newGuidText() {
    GUID guid;
    if (FAILED(CoCreateGuid(&guid))) return WideString();
    const BYTE* tail = guid.Data4;
    return formatWideString(TEXT("%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x"), guid.Data1, guid.Data2,
                            guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6], tail[7]);
}
