// The answer to --applet-contract-version: which version of the private-queue contract this executable implements. Runs
// before anything else of the program.
#pragma once

#include <optional>

#include "common/WideText.h"

// Returns nothing when the command line does not ask. Otherwise returns the exit code of the process, which is a
// Windows error number. 0: the line "OMBREL_APPLET_NOTES_CONTRACT=<version>" CR LF went to standard output or, without
// one, to the console of the parent process. 87: there are other arguments. 13, 1812, 6, 29 or the error of the call
// that failed: nothing usable was printed.
std::optional<DWORD> answerContractQuery();
