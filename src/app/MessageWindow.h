// The wake-up message, which a second instance sends to the first.
#pragma once

#include <windows.h>

// Its number in this session; 0 until it is registered.
extern UINT wakeUpMessage;
