// The answer to --applet-contract-version: which version of the hand-over contract this executable keeps. It is
// given before anything else of the program runs.
#pragma once

#include <optional>

#include "common/WideText.h"

// Nothing when the command line does not ask. Otherwise the exit code of the process: 0 after the line
// "OMBREL_APPLET_NOTES_CONTRACT=<version>" and CR LF went to standard output (or to the console of the parent process
// where there is no standard output), else a Windows error number: 87 when anything else stands on the command line,
// 13, 1812, 6, 29 or what the failing call left.
std::optional<DWORD> answerContractQuery();
