// Native processes write debug output and message boxes to standard error. A box is its caption in brackets on a
// separate line, then its text and an empty line.
#include "support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <shellapi.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>

#include "common/Arguments.h"
#include "common/Folders.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

constexpr std::chrono::seconds kLimit(60);
constexpr DWORD kKilled = 0xffffffff;

[[noreturn]] void becomeChild(const std::vector<std::string>& arguments, const Environment& environment, int in,
                              const std::array<int, 2>& out, const std::array<int, 2>& err) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (in >= 0) dup2(in, STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (const auto& [name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    _exit(127);
}

// Reads both pipes until the child closes them. False if that takes too long.
bool drain(int out, int err, std::string& outText, std::string& errText) {
    const auto deadline = std::chrono::steady_clock::now() + kLimit;
    std::array<pollfd, 2> waits{pollfd{out, POLLIN, 0}, pollfd{err, POLLIN, 0}};
    const std::array<std::string*, 2> texts{&outText, &errText};
    while (waits[0].fd >= 0 || waits[1].fd >= 0) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        poll(waits.data(), waits.size(), 100);
        for (std::size_t i = 0; i < waits.size(); ++i) {
            if (waits[i].fd < 0 || waits[i].revents == 0) continue;
            char buffer[4096];
            const ssize_t length = read(waits[i].fd, buffer, sizeof buffer);
            if (length > 0)
                texts[i]->append(buffer, static_cast<std::size_t>(length));
            else
                waits[i].fd = -1;
        }
    }
    return true;
}

// Runs a program beside the test. `in` is its standard input, -1 for the test's own. Returns the exit code.
DWORD run(WideView program, const WideString& arguments, const Environment& environment, int in, std::string& output,
          std::string& errors) {
    const std::filesystem::path image = hostPath(joinPath(parentPath(executablePath()), program));
    std::vector<std::string> texts;
    for (const WideString& argument : splitCommandLine(WideString(program) + TEXT(" ") + arguments))
        texts.push_back(utf8(argument));
    texts[0] = image.string();

    std::array<int, 2> out, err;
    if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) return kKilled;
    const pid_t child = fork();
    if (child == 0) becomeChild(texts, environment, in, out, err);
    close(out[1]);
    close(err[1]);
    if (!drain(out[0], err[0], output, errors)) kill(child, SIGKILL);
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? static_cast<DWORD>(WEXITSTATUS(status)) : kKilled;
}

void splitBox(ProcessResult& result, std::string text) {
    const std::size_t open = text.find("[Vellumd]\n");
    const std::size_t end = open == std::string::npos ? open : text.find("\n\n", text.find("\n\n", open) + 2);
    if (end != std::string::npos) {
        result.boxCaption = "Vellumd";
        result.boxText = text.substr(open + 10, end + 1 - (open + 10));
        text.erase(open, end + 2 - open);
    }
    result.debugOutput = std::move(text);
}

}  // namespace

ProcessResult runVellumd(const WideString& arguments, const Environment& environment) {
    ProcessResult result;
    std::string errors;
    result.exitCode = run(TEXT("Vellumd"), arguments, environment, -1, result.output, errors);
    result.finished = result.exitCode != kKilled;
    splitBox(result, std::move(errors));
    return result;
}

ConsoleResult runVellumctl(const WideString& arguments, const std::string& input) {
    ConsoleResult result;
    std::FILE* const in = std::tmpfile();
    if (in == nullptr) return result;
    std::fwrite(input.data(), 1, input.size(), in);
    std::rewind(in);
    result.exitCode = run(TEXT("vellumctl"), arguments, {}, fileno(in), result.output, result.errors);
    std::fclose(in);
    return result;
}
