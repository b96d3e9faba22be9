// The machine in a test's hands.
#pragma once

#include "machine/Machine.h"
