#include "common/Arguments.h"

#include <shellapi.h>

#include "common/Handles.h"

std::vector<WideString> splitCommandLine(const WideString& command) {
    int count = 0;
    const ArgumentArray array(CommandLineToArgvW(command.c_str(), &count));
    if (!array) return {};
    return std::vector<WideString>(array.get(), array.get() + count);
}
