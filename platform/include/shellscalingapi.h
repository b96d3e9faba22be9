// DPI of monitors. The product finds these functions with GetProcAddress.
#pragma once

#include <windef.h>

enum MONITOR_DPI_TYPE { MDT_EFFECTIVE_DPI = 0 };
