// DPI of monitors. The product looks these calls up while it runs.
#pragma once

#include <windef.h>

enum MONITOR_DPI_TYPE { MDT_EFFECTIVE_DPI = 0 };
