// vellum-fire-task NAME: runs a scheduled task of the machine now, as if it was triggered or started on demand.
#include <cstdio>
#include <string>

#include "core/Encoding.h"
#include "machine/Machine.h"
#include "tasks/TaskFile.h"

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "Usage: vellum-fire-task NAME (VELLUM_MACHINE says on which machine)\n");
        return 2;
    }
    const HRESULT result = platform::tasks::run(platform::toWide(arguments[1]));
    if (result >= 0) return 0;
    std::fprintf(stderr, "%s: cannot be run on %s (0x%08x)\n", arguments[1], platform::machineFolder().c_str(),
                 static_cast<unsigned>(result));
    return 1;
}
