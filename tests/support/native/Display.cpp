#include "support/Display.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "common/Arguments.h"
#include "common/Folders.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"
#include "windows/Remote.h"

struct DisplayProcess::Platform {
    pid_t child = -1;

    std::string ask(const std::string& request) const { return platform::remote::askProcess(child, request); }
};

namespace {

// "HANDLE left,top WIDTHxHEIGHT style=HEX ex=HEX shown CLASS "text" active"
bool readLine(const std::string& line, ShownWindow& window) {
    unsigned long long handle = 0;
    long left = 0, top = 0, width = 0, height = 0;
    unsigned style = 0, exStyle = 0;
    if (std::sscanf(line.c_str(), "%llx %ld,%ld %ldx%ld style=%x ex=%x", &handle, &left, &top, &width, &height, &style,
                    &exStyle) != 7)
        return false;
    window.handle = handle;
    window.rect = {static_cast<LONG>(left), static_cast<LONG>(top), static_cast<LONG>(left + width),
                   static_cast<LONG>(top + height)};
    window.style = style;
    window.exStyle = exStyle;
    window.isVisible = has(line, " shown ");
    window.isActive = line.ends_with(" active") || line.ends_with(" focus");
    return true;
}

}  // namespace

DisplayProcess::DisplayProcess(const WideString& arguments, const Environment& environment)
    : platform_(std::make_unique<Platform>()) {
    std::vector<std::string> texts;
    for (const WideString& argument : splitCommandLine(TEXT("Vellumd ") + arguments))
        texts.push_back(utf8(argument));
    texts[0] = hostPath(joinPath(parentPath(executablePath()), TEXT("Vellumd"))).string();
    platform_->child = fork();
    if (platform_->child != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    for (const auto& [name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    _exit(127);
}

DisplayProcess::~DisplayProcess() {
    if (platform_->child < 0) return;
    kill(platform_->child, SIGKILL);
    waitpid(platform_->child, nullptr, 0);
}

std::vector<ShownWindow> DisplayProcess::notes() const {
    std::vector<ShownWindow> shown;
    std::istringstream list(platform_->ask("list"));
    for (std::string line; std::getline(list, line);) {
        ShownWindow window;
        if (has(line, "Vellumd.NoteWindow") && readLine(line, window)) shown.push_back(window);
    }
    return shown;
}

int DisplayProcess::end() {
    std::istringstream list(platform_->ask("list"));
    for (std::string line; std::getline(list, line);)
        if (has(line, "Vellumd.MsgWindow")) platform_->ask("close " + line.substr(0, line.find(' ')));
    return ends();
}

int DisplayProcess::ends() {
    int status = 0;
    if (!eventually([&] { return waitpid(platform_->child, &status, WNOHANG) == platform_->child; })) return -1;
    platform_->child = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void DisplayProcess::endSession() const {
    platform_->ask("end-session");
}

void DisplayProcess::closeForInstaller() const {
    platform_->ask("close-for-installer");
}

void DisplayProcess::click(LONG x, LONG y) const {
    platform_->ask("click " + std::to_string(x) + " " + std::to_string(y));
}

void DisplayProcess::drag(LONG fromX, LONG fromY, LONG toX, LONG toY) const {
    platform_->ask("drag " + std::to_string(fromX) + " " + std::to_string(fromY) + " " + std::to_string(toX) + " " +
                   std::to_string(toY));
}

void DisplayProcess::typeIntoBody(const std::string& text) const {
    const RECT note = notes().at(0).rect;
    click((note.left + note.right) / 2, (note.top + note.bottom) / 2);
    platform_->ask("type " + text);
}
