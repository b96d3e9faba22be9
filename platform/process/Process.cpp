// The command line and the image path of this process. The product's main() sets the command line before it starts any
// thread; a program with a main() of its own gets the one that it was started with. The product reads both.
#include "process/Process.h"

#include <sys/auxv.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <fstream>
#include <sstream>

#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "machine/NativePath.h"

namespace platform {
namespace {

std::u16string commandLine;

// Quotes one argument so that splitCommandLine restores it. Doubles the backslashes before a quote.
std::u16string quoted(const std::string& argument) {
    const std::u16string text = toWide(argument);
    if (!text.empty() && text.find_first_of(u" \t\"") == std::u16string::npos) return text;
    std::u16string out = u"\"";
    std::size_t backslashes = 0;
    for (const char16_t unit : text) {
        if (unit == u'"') out.append(backslashes + 1, u'\\');
        backslashes = unit == u'\\' ? backslashes + 1 : 0;
        out.push_back(unit);
    }
    return out.append(backslashes, u'\\') + u"\"";
}

std::vector<std::string> startedWith() {
    std::stringstream text;
    text << std::ifstream("/proc/self/cmdline", std::ios::binary).rdbuf();
    std::vector<std::string> arguments;
    for (std::string argument; std::getline(text, argument, '\0');)
        arguments.push_back(argument);
    return arguments;
}

}  // namespace

// The path that was used to start the process; links in it are not resolved.
std::u16string imagePath() {
    const char* const started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (started != nullptr && started[0] == '/') return windowsPath(started);
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return windowsPath(std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0));
}

void setCommandLine(const std::vector<std::string>& arguments) {
    // Backslashes have no special meaning in the program name, so quotes around it are enough.
    commandLine = u"\"" + imagePath() + u"\"";
    for (std::size_t i = 1; i < arguments.size(); ++i)
        commandLine += u" " + quoted(arguments[i]);
}

}  // namespace platform

using namespace platform;

LPWSTR GetCommandLineW() {
    static constinit CallSite site{__func__};
    site.pass();
    if (commandLine.empty()) setCommandLine(startedWith());
    return commandLine.data();
}

DWORD GetModuleFileNameW(HMODULE, LPWSTR path, DWORD capacity) {
    static constinit CallSite site{__func__};
    if (site.fails()) return 0;
    const std::u16string text = imagePath();
    if (capacity == 0) return 0;
    const std::size_t copied = std::min<std::size_t>(text.size(), capacity - 1);
    std::memcpy(path, text.data(), copied * sizeof(WCHAR));
    path[copied] = 0;
    return copied == text.size() ? static_cast<DWORD>(copied) : refuse(ERROR_INSUFFICIENT_BUFFER, capacity);
}
