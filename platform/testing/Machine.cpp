#include "testing/Machine.h"

#include <unistd.h>

#include <fstream>

#include "security/Token.h"

namespace platform {

void useMachine(const std::filesystem::path& folder) {
    enterMachine(folder);
    resetProcessToken();
}

void useToken(const std::string& description) {
    takeToken(description);
    resetProcessToken();
}

void rewriteMachine(const std::string& text) {
    const std::filesystem::path file = machineFolder() / "machine.txt";
    const std::filesystem::path draft = file.string() + "." + std::to_string(getpid());
    std::ofstream(draft) << text;
    std::filesystem::rename(draft, file);
}

}  // namespace platform
