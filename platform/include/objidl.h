// COM objects.
#pragma once

#include <windef.h>
