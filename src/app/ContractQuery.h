// The answer to --applet-contract-version: which version of the private-queue contract this executable implements. Runs
// before anything else of the program.
#pragma once

#include <optional>

#include "common/WideText.h"

// Returns nothing when the command line does not ask. Otherwise returns the exit code of the process, a Windows error
// number:
//     0                 "OMBREL_APPLET_NOTES_CONTRACT=<version>" CR LF was printed
//     87                there are other arguments
//     13, 1812          the resource with the version is damaged or cannot be loaded
//     6                 there is no standard output
//     29                a write to the output wrote nothing
//     any other number  the error of the call that failed
// The line goes to standard output or, without one, to the console of the parent process.
std::optional<DWORD> answerContractQuery();
