// vellumctl: puts notes on the screen, takes them away and says what became of them, from scripts and by hand. It works
// on the files of the notes folder, as any other program does, and needs no running Vellumd.
#include <windows.h>

#include "common/Arguments.h"
#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/Request.h"

int main() {
    try {
        std::vector<WideString> arguments = splitCommandLine(GetCommandLineW());
        if (!arguments.empty()) arguments.erase(arguments.begin());
        return std::visit([](const auto& request) { return ctl::run(request); }, ctl::readRequest(arguments));
    } catch (const ctl::Failure& failure) {
        ctl::printError(failure.text);
        return failure.code;
    } catch (const std::bad_alloc&) {
        ctl::printError("there is not enough memory");
        return ctl::kFailed;
    }
}
