#include "HostProcess.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string textOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

bool runs(const fs::path& process, const std::string& executable) {
    const std::string image = textOf(process / "cmdline").c_str();  // up to the end of the first argument
    return image.ends_with(executable);
}

}  // namespace

Activity hostActivity(const std::string& executable) {
    Activity activity;
    std::error_code error;
    for (fs::directory_iterator process("Z:/proc", error), end; process != end; process.increment(error)) {
        if (!runs(process->path(), executable)) continue;
        for (const auto& thread : fs::directory_iterator(process->path() / "task", error)) {
            activity.cpuMilliseconds += std::atof(textOf(thread.path() / "schedstat").c_str()) / 1e6;
            const std::string status = textOf(thread.path() / "status"), field = "\nvoluntary_ctxt_switches:";
            if (const auto at = status.find(field); at != std::string::npos)
                activity.wakeUps += std::atof(status.c_str() + at + field.size());
        }
    }
    return activity;
}
