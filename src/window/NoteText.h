// Line ends: LF in the file, CR LF in the controls.
#pragma once

#include "common/WideText.h"

// CR, LF and CR LF alike become CR LF.
WideString normalizeToCrLf(WideView text);
// CR and CR LF become LF.
WideString normalizeToLf(WideView text);
