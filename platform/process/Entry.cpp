// main() of a native program: builds the command line and calls wWinMain.
#include <windows.h>

#include <csignal>
#include <string>
#include <vector>

#include "process/Children.h"
#include "process/Process.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int show);

namespace {

constexpr int kShowDefault = 10;

// The command line without the program name, which setCommandLine always puts in quotes.
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
    std::signal(SIGPIPE, SIG_IGN);  // makes writing to a closed pipe fail instead of ending the process
    platform::setCommandLine(std::vector<std::string>(arguments, arguments + count));
    static int image;  // its address serves as the module handle
    return wWinMain(reinterpret_cast<HINSTANCE>(&image), nullptr, behindProgram(GetCommandLineW()), kShowDefault);
}
