// The shell: command lines.
#pragma once

#include <windef.h>

LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count);
