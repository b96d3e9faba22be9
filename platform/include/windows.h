// The platform's calls under their own names: what the product includes on Linux where it includes the
// system's header of this name on Windows. It declares what the product calls and nothing else.
#pragma once

#include <windef.h>

#include <winbase.h>
#include <winerror.h>
#include <wingdi.h>
#include <winnls.h>
#include <winnt.h>
#include <winreg.h>
#include <winuser.h>
