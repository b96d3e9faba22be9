// The auto-start value of the display role: "Vellumd" under the Run key of HKEY_CURRENT_USER.
#pragma once

#include "common/WideText.h"

// The key under HKEY_CURRENT_USER whose values Windows runs when the user logs on.
inline constexpr const WCHAR* kRunKey = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Run");

// Writes `command` as REG_SZ. False, with the reason in GetLastError, when the key or the value cannot be written.
bool setAutoStart(const WideString& command);

// Removes the value. Always true: a missing value or key is no failure.
bool clearAutoStart();

// Whether the value exists and is text (REG_SZ or REG_EXPAND_SZ).
bool isAutoStartSet();
