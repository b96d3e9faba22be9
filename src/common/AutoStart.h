// The per-user auto-start value of the plain display role: "Vellumd" under the Run key of HKEY_CURRENT_USER.
#pragma once

#include "common/WideText.h"

// Under HKEY_CURRENT_USER: what Windows starts when the user logs on.
inline constexpr const WCHAR* kRunKey = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");

// Writes `command`, as REG_SZ. False, with the reason in GetLastError, when the key or the value
// cannot be written.
bool setAutoStart(const WideString& command);

// Removes the value. Always true: no value, and no key, is as good.
bool clearAutoStart();

// Whether the value exists and is text (REG_SZ or REG_EXPAND_SZ).
bool isAutoStartSet();
