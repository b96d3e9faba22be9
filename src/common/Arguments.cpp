#include "common/Arguments.h"

#include <shellapi.h>

#include "common/Handles.h"

std::vector<WideString> splitCommandLine(const WideString& command) {
    int count = 0;
    const ArgumentArray array(CommandLineToArgvW(command.c_str(), &count));
    if (!array) return {};
    return std::vector<WideString>(array.get(), array.get() + count);
}

WideString quoteArgument(WideView text) {
    WideString quoted = TEXT("\"");
    std::size_t backslashes = 0;  // not written yet: before a quote each one is doubled
    for (const WCHAR unit : text) {
        if (unit == TEXT('\\')) {
            ++backslashes;
            continue;
        }
        quoted.append(unit == TEXT('"') ? 2 * backslashes + 1 : backslashes, TEXT('\\'));
        quoted += unit;
        backslashes = 0;
    }
    quoted.append(2 * backslashes, TEXT('\\'));
    return quoted += TEXT('"');
}
