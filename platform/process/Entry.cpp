// main() of a native program: makes the command line and calls the entry point of a Windows GUI program.
#include <windows.h>

#include <csignal>
#include <string>
#include <vector>

#include "process/Children.h"
#include "process/Process.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int show);

namespace {

constexpr int kShowDefault = 10;

// What stands behind the program's name, which setCommandLine always quotes.
LPWSTR behindProgram(LPWSTR commandLine) {
    LPWSTR at = commandLine + 1;
    while (*at != u'"')
        ++at;
    for (++at; *at == u' ';)
        ++at;
    return at;
}

}  // namespace

int main(int count, char** arguments) {
    platform::waitUntilResumed();
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of the write, not the end
    platform::setCommandLine(std::vector<std::string>(arguments, arguments + count));
    static int image;  // its address stands for the module
    return wWinMain(reinterpret_cast<HINSTANCE>(&image), nullptr, behindProgram(GetCommandLineW()), kShowDefault);
}
