// main() of a native console program whose own main(), which is compiled under the name consoleMain, has no parameters:
// makes the command line and calls it.
#include <csignal>
#include <string>
#include <vector>

#include "process/Children.h"
#include "process/Process.h"

int consoleMain();

int main(int count, char** arguments) {
    platform::waitUntilResumed();
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error of the write, not the end
    platform::setCommandLine(std::vector<std::string>(arguments, arguments + count));
    return consoleMain();
}
