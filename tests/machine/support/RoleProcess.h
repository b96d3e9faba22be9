// The built program, or a copy of it, as a process on the test's machine.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <sstream>
#include <vector>

#include "common/Folders.h"
#include "common/Paths.h"
#include "machine/Environment.h"
#include "machine/support/MachineFixture.h"
#include "support/Process.h"
#include "windows/Remote.h"

using RoleArguments = std::vector<std::string>;

class RoleProcess {
  public:
    static fs::path builtProgram() { return hostPath(joinPath(parentPath(executablePath()), TEXT("Vellumd"))); }

    explicit RoleProcess(RoleArguments arguments, const Environment& environment = {},
                         const fs::path& image = builtProgram())
        : errors_(platform::machineFolder() / ("stderr-" + std::to_string(++count()))) {
        arguments.insert(arguments.begin(), image.string());
        child_ = fork();
        if (child_ != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // ends the child if the test is killed
        const int file = open(errors_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        chdir("/");
        setenv("VELLUM_MACHINE", platform::machineFolder().c_str(), 1);
        for (const auto& [name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        execv(image.c_str(), platform::pointersTo(arguments).data());
        _exit(127);
    }
    ~RoleProcess() { kill(); }
    RoleProcess(const RoleProcess&) = delete;
    RoleProcess& operator=(const RoleProcess&) = delete;

    void kill() {
        if (child_ <= 0) return;
        ::kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        child_ = -1;
    }
    bool isRunning() const {
        siginfo_t end = {};
        return waitid(P_PID, static_cast<id_t>(child_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == 0;
    }
    // The exit code; -1 if it does not end in time.
    int exitCode() {
        int status = 0;
        if (!eventually([&] { return waitpid(child_, &status, WNOHANG) == child_; })) return -1;
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }
    // Its debug output and standard output.
    std::string said() const { return contentOf(errors_); }
    bool says(const std::string& text) const {
        return eventually([&] { return timesSaid(text) > 0; });
    }
    std::size_t timesSaid(const std::string& line) const {
        const std::string text = said();
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; ++at)
            ++count;
        return count;
    }
    // The desktop, the job, and inherited state of a process that one of these has started. The starter has a second
    // descriptor of its standard error file; the child has it too if it inherited handles.
    static std::string surroundings(pid_t child) {
        const fs::path process = "/proc/" + std::to_string(child);
        std::string text = "desktop=" + platform::desktopOf(child) + " job=" + platform::jobOf(child);
        if (read_symlink(process / "cwd") != builtProgram().parent_path()) text += " in another folder";
        std::error_code error;
        for (const auto& file : fs::directory_iterator(process / "fd"))
            if (std::stoi(file.path().filename()) > 2 && has(read_symlink(file.path(), error), "/stderr-"))
                text += " with handles";
        if (has(contentOf(process / "environ"), "OF_THE_STARTER=")) text += " with the starter's environment";
        return text;
    }
    std::string ask(const std::string& request) const { return platform::remote::askProcess(child_, request); }
    // The line of the window list for each note, topmost first.
    std::vector<std::string> notes() const { return notesIn(ask("list")); }
    static std::vector<std::string> notesIn(const std::string& text) {
        std::vector<std::string> found;
        std::istringstream list(text);
        for (std::string line; std::getline(list, line);)
            if (has(line, "Vellumd.NoteWindow")) found.push_back(line);
        return found;
    }
    // Waits until it shows that many notes and watches its folder.
    bool shows(std::size_t count) const {
        return eventually([&] { return notes().size() == count && isWatching(); });
    }
    // Clicks the close button of the topmost note.
    void pressClose() const { ask(clickOn(notes().at(0), 245, 13)); }
    void type(const std::string& text) const {
        ask(clickOn(notes().at(0), 130, 130));
        ask("type " + text);
    }
    // The request that clicks at a point of a window.
    static std::string clickOn(const std::string& note, long x, long y) {
        unsigned long long handle = 0;
        long left = 0, top = 0;
        std::sscanf(note.c_str(), "%llx %ld,%ld", &handle, &left, &top);
        return "click " + std::to_string(left + x) + " " + std::to_string(top + y);
    }

  private:
    bool isWatching() const {
        std::error_code error;
        const fs::directory_iterator files("/proc/" + std::to_string(child_) + "/fdinfo", error);
        return std::any_of(begin(files), end(files), [](const auto& file) {
            std::ifstream lines(file.path());
            for (std::string line; std::getline(lines, line);)
                if (line.starts_with("inotify ")) return true;
            return false;
        });
    }
    static unsigned& count() {
        static unsigned value = 0;
        return value;
    }

    fs::path errors_;
    pid_t child_ = -1;
};
