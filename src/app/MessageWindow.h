// The wake-up message, which a second instance sends to the first.
#pragma once

#include <windows.h>

// The number that RegisterWindowMessageW returned; 0 before.
extern UINT wakeUpMessage;
