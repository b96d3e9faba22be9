// Splits command lines, for CommandLineToArgvW and for starting processes. Stateless.
#include "process/CommandLine.h"

#include <shellapi.h>
#include <winbase.h>
#include <winerror.h>

#include <cstring>
#include "core/Allocations.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "process/Process.h"

namespace {

using Arguments = std::vector<std::u16string>;

bool isBlank(WCHAR unit) {
    return unit == u' ' || unit == u'\t';
}

// Backslashes have no special meaning in the program name. It ends at the closing quote, or at a blank.
std::u16string takeProgram(std::u16string_view line, std::size_t& at) {
    const bool quoted = at < line.size() && line[at] == u'"';
    const std::size_t start = quoted ? ++at : at;
    while (at < line.size() && (quoted ? line[at] != u'"' : !isBlank(line[at])))
        ++at;
    std::u16string program(line.substr(start, at - start));
    if (at < line.size()) ++at;
    return program;
}

// Reads one argument. Backslashes are special only before a quote. The third of consecutive quotes, counting the
// opening one, is a literal quote and ends the quoted part.
std::u16string takeArgument(std::u16string_view line, std::size_t& at) {
    std::u16string argument;
    std::size_t backslashes = 0;
    int quotes = 0;
    while (at < line.size() && (quotes != 0 || !isBlank(line[at]))) {
        const WCHAR unit = line[at++];
        if (unit != u'"') {
            argument.push_back(unit);
            backslashes = unit == u'\\' ? backslashes + 1 : 0;
            continue;
        }
        argument.resize(argument.size() - (backslashes + 1) / 2);
        if (backslashes % 2 == 1)
            argument.push_back(u'"');
        else
            ++quotes;
        backslashes = 0;
        for (; at < line.size() && line[at] == u'"'; ++at) {
            if (++quotes == 3) {
                argument.push_back(u'"');
                quotes = 0;
            }
        }
        if (quotes == 2) quotes = 0;
    }
    return argument;
}

}  // namespace

namespace platform {

Arguments splitCommandLine(std::u16string_view line) {
    std::size_t at = 0;
    Arguments arguments{takeProgram(line, at)};
    for (;;) {
        while (at < line.size() && isBlank(line[at]))
            ++at;
        if (at == line.size()) return arguments;
        arguments.push_back(takeArgument(line, at));
    }
}

}  // namespace platform

using namespace platform;

LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count) {
    static constinit CallSite site{__func__};
    if (site.fails()) return nullptr;
    if (commandLine == nullptr || count == nullptr) return refuse(ERROR_INVALID_PARAMETER);
    const Arguments arguments = *commandLine == 0 ? Arguments{imagePath()} : splitCommandLine(commandLine);
    // Makes one block for LocalFree: first the pointers, then the strings.
    std::size_t bytes = (arguments.size() + 1) * sizeof(LPWSTR);
    for (const std::u16string& argument : arguments)
        bytes += (argument.size() + 1) * sizeof(WCHAR);
    auto** const block = static_cast<LPWSTR*>(allocate(bytes));
    auto* text = reinterpret_cast<LPWSTR>(block + arguments.size() + 1);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        block[i] = text;
        std::memcpy(text, arguments[i].c_str(), (arguments[i].size() + 1) * sizeof(WCHAR));
        text += arguments[i].size() + 1;
    }
    block[arguments.size()] = nullptr;
    *count = static_cast<int>(arguments.size());
    return block;
}
