// Reads the contract version from the resources and prints it. The entry function calls it first, on the main thread.
#include "app/ContractQuery.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "common/Arguments.h"
#include "common/WriteAll.h"

namespace {

DWORD readContract(DWORD& version) {
    const HRSRC resource = FindResourceW(nullptr, TEXT("OMBREL_APPLET_NOTES_CONTRACT"), RT_RCDATA);
    if (resource == nullptr) return GetLastError();
    if (SizeofResource(nullptr, resource) != sizeof version) return ERROR_INVALID_DATA;
    const HGLOBAL data = LoadResource(nullptr, resource);
    if (data == nullptr) return GetLastError();
    const void* const bytes = LockResource(data);
    if (bytes == nullptr) return ERROR_RESOURCE_DATA_NOT_FOUND;
    version = *static_cast<const DWORD*>(bytes);
    return ERROR_SUCCESS;
}

bool isUsable(HANDLE output) {
    return output != nullptr && output != INVALID_HANDLE_VALUE;
}

// A GUI program has no console of its own: without redirected output it attaches to the console of its parent.
DWORD findOutput(HANDLE& output) {
    output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (isUsable(output)) return ERROR_SUCCESS;
    if (!AttachConsole(ATTACH_PARENT_PROCESS)) return GetLastError();
    output = GetStdHandle(STD_OUTPUT_HANDLE);
    return isUsable(output) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

DWORD printContract() {
    DWORD version = 0;
    if (const DWORD error = readContract(version)) return error;
    HANDLE output = nullptr;  // the process owns it
    if (const DWORD error = findOutput(output)) return error;
    char line[64] = {};
    const int length =
        std::snprintf(line, sizeof line, "OMBREL_APPLET_NOTES_CONTRACT=%lu\r\n", static_cast<unsigned long>(version));
    if (length < 1 || length >= static_cast<int>(sizeof line)) return ERROR_INVALID_DATA;
    return writeAll(output, {line, static_cast<std::size_t>(length)}) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

std::optional<DWORD> answerContractQuery() {
    const std::vector<WideString> arguments = splitCommandLine(GetCommandLineW());
    if (arguments.empty()) return GetLastError();
    const bool isAsked =
        std::find(arguments.begin() + 1, arguments.end(), TEXT("--applet-contract-version")) != arguments.end();
    if (!isAsked) return std::nullopt;
    if (arguments.size() != 2) return ERROR_INVALID_PARAMETER;
    return printContract();
}
