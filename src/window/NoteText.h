// Conversion of line ends: files have LF, the controls CR LF.
#pragma once

#include "common/WideText.h"

// Each CR, LF or CR LF becomes CR LF.
WideString normalizeToCrLf(WideView text);
// Each CR or CR LF becomes LF.
WideString normalizeToLf(WideView text);
