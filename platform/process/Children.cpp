// Starts child processes. A child is a real process on the same machine and gets its token through VELLUM_TOKEN. A
// suspended child has run exec and waits at the start of main() for a byte on a pipe. If the pipe closes without that
// byte, the child exits. The child inherits only this pipe and the standard streams. With bInheritHandles it inherits
// every descriptor without close-on-exec; the stand-in itself opens none of those.
#include "process/Children.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <list>
#include <mutex>
#include <string_view>
#include <vector>

#include "core/Descriptor.h"
#include "core/Encoding.h"
#include "core/Error.h"
#include "core/Gate.h"
#include "machine/Environment.h"
#include "machine/Machine.h"
#include "machine/NativePath.h"
#include "machine/TokenText.h"
#include "process/CommandLine.h"
#include "process/Processes.h"
#include "process/Surroundings.h"

extern char** environ;

namespace platform {
namespace {

constexpr const char* kSuspended = "VELLUM_SUSPENDED";  // holds the descriptor of the pipe

std::mutex lock;
std::list<pid_t> abandoned;  // children without an open handle that waitpid has not collected yet

// Collects zombies among the abandoned children.
void reapAbandoned() {
    std::lock_guard hold(lock);
    abandoned.remove_if([](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; });
}

struct ChildProcess : ProcessObject {
    ChildProcess(pid_t child, std::shared_ptr<TokenState> runsUnder, Descriptor pipe)
        : ProcessObject(static_cast<DWORD>(child), std::move(runsUnder), kAllProcessRights), resume(std::move(pipe)) {}
    ~ChildProcess() override {
        std::lock_guard hold(lock);
        if (!isReaped) abandoned.push_back(static_cast<pid_t>(id));
    }
    Descriptor resume;
    bool isReaped = false;
};

struct ChildThread : Object {
    explicit ChildThread(std::shared_ptr<ChildProcess> child) : process(std::move(child)) {}
    const std::shared_ptr<ChildProcess> process;
};

std::vector<std::string> argumentsOf(LPCWSTR commandLine) {
    std::vector<std::string> arguments;
    for (const std::u16string& argument : splitCommandLine(commandLine))
        arguments.push_back(toUtf8(argument));
    return arguments;
}

std::vector<std::string> textsOf(const WCHAR* block) {
    std::vector<std::string> texts;
    for (std::u16string_view text = block; !text.empty(); text = text.data() + text.size() + 1)
        texts.push_back(toUtf8(text));
    return texts;
}

bool isOf(const std::string& entry, std::string_view name) {
    return entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=';
}

struct Start {
    LPCWSTR image;
    LPCWSTR commandLine;
    BOOL inherits;
    DWORD flags;
    const WCHAR* environment;  // null: the child gets this process's environment
    LPCWSTR folder;
    const STARTUPINFOW* startup;
    std::shared_ptr<TokenState> token;
};

// Refuses what is not supported. An ANSI environment block would be misread as UTF-16.
bool isUnderstood(const Start& wanted) {
    constexpr DWORD kKnown = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT | CREATE_BREAKAWAY_FROM_JOB;
    const bool isWide = wanted.environment == nullptr || (wanted.flags & CREATE_UNICODE_ENVIRONMENT) != 0;
    const bool hasSize = wanted.startup != nullptr && wanted.startup->cb == sizeof *wanted.startup;
    return (isWide && hasSize && (wanted.flags & ~kKnown) == 0) || refuse(ERROR_INVALID_PARAMETER);
}

// Adds the variables that the stand-in and its sanitizers need, whatever the child's environment is. Faults are not
// inherited.
void addOwnVariables(std::vector<std::string>& environment, const Start& wanted, const Token& token,
                     const std::string& job, int resumeDescriptor) {
    for (const char* name : {"VELLUM_MACHINE", "VELLUM_TOKEN", "VELLUM_CHILD_TOKEN", "VELLUM_DESKTOP", "VELLUM_JOB",
                             "VELLUM_FAULTS", kSuspended})
        std::erase_if(environment, [&](const std::string& entry) { return isOf(entry, name); });
    environment.push_back("VELLUM_MACHINE=" + machineFolder().string());
    environment.push_back("VELLUM_TOKEN=" + writeToken(token));
    const LPCWSTR desktop = wanted.startup->lpDesktop;
    environment.push_back("VELLUM_DESKTOP=" + (desktop == nullptr ? processDesktop() : toUtf8(desktop)));
    if (!job.empty()) environment.push_back("VELLUM_JOB=" + job);
    if (resumeDescriptor >= 0) environment.push_back(kSuspended + ("=" + std::to_string(resumeDescriptor)));
    for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr) environment.push_back(name + ("=" + std::string(value)));
    }
}

struct Pipe {
    Descriptor read{-1}, write{-1};
    bool open() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return false;
        read = Descriptor(ends[0]);
        write = Descriptor(ends[1]);
        return true;
    }
};

// Runs in the child between fork and exec, so it makes only async-signal-safe calls. Writes errno to `report` on
// failure.
[[noreturn]] void becomeImage(const char* image, const char* folder, char** arguments, char** environment, int resume,
                              int report, bool inherits) {
    if (!inherits) close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    if (resume >= 0) fcntl(resume, F_SETFD, 0);
    if (folder == nullptr || chdir(folder) == 0) execve(image, arguments, environment);
    const int error = errno;
    [[maybe_unused]] const ssize_t told = write(report, &error, sizeof error);
    _exit(127);
}

std::shared_ptr<TokenState> exchanged(std::shared_ptr<TokenState> token) {
    const char* const description = std::getenv("VELLUM_CHILD_TOKEN");
    Token other;
    std::string mistake;
    const bool isOther = description != nullptr && readToken(description, machineNow(), other, mistake);
    return isOther ? makeToken(other) : token;
}

// An owner who may do everything with a file may run it. Linux wants a bit for that, which no access list here sets.
void letOwnerRun(const std::string& image) {
    struct stat status;
    if (stat(image.c_str(), &status) == 0 && (status.st_mode & 0700) == 0600)
        chmod(image.c_str(), status.st_mode | 0100);
}

bool start(const Start& wanted, PROCESS_INFORMATION* made) {
    reapAbandoned();
    std::string image, folder;
    if (!nativePath(wanted.image, image) || (wanted.folder != nullptr && !nativePath(wanted.folder, folder)))
        return false;
    std::string job;
    if (!isUnderstood(wanted) ||
        !chooseChildJob((wanted.flags & CREATE_BREAKAWAY_FROM_JOB) != 0, wanted.token->who.sessionId, job))
        return false;
    letOwnerRun(image);
    const bool isSuspended = (wanted.flags & CREATE_SUSPENDED) != 0;
    const std::shared_ptr<TokenState> token = exchanged(wanted.token);
    Pipe resume, report;
    if (!report.open() || (isSuspended && !resume.open())) return refuse(ERROR_TOO_MANY_OPEN_FILES);

    std::vector<std::string> arguments = argumentsOf(wanted.commandLine);
    std::vector<std::string> environment =
        wanted.environment == nullptr ? environmentTexts() : textsOf(wanted.environment);
    addOwnVariables(environment, wanted, token->who, job, resume.read.get());
    const std::vector<char*> argumentPointers = pointersTo(arguments), environmentPointers = pointersTo(environment);
    const pid_t child = fork();
    if (child == 0)
        becomeImage(image.c_str(), folder.empty() ? nullptr : folder.c_str(),
                    const_cast<char**>(argumentPointers.data()), const_cast<char**>(environmentPointers.data()),
                    resume.read.get(), report.write.get(), wanted.inherits != FALSE);
    if (child < 0) return refuse(ERROR_NOT_ENOUGH_MEMORY);

    // exec closes the child's end of the pipe. So this read waits until exec has succeeded or failed.
    int error = 0;
    close(report.write.release());
    if (read(report.read.get(), &error, sizeof error) > 0) {
        waitpid(child, nullptr, 0);
        return setFileError(error, image);
    }
    const auto process = std::make_shared<ChildProcess>(child, token, std::move(resume.write));
    made->hProcess = openHandle(process);
    made->hThread = openHandle(std::make_shared<ChildThread>(process));
    made->dwProcessId = made->dwThreadId = process->id;
    return true;
}

// A token of the same user and logon without extra rights needs no privilege.
bool mayStartUnder(const TokenState& token) {
    const Token& own = processToken();
    const bool isOwn = token.who.user == own.user && token.who.sessionId == own.sessionId &&
                       token.who.logonId == own.logonId && token.who.integrity <= own.integrity;
    return isOwn || mayUse(AssignPrimaryToken);
}

}  // namespace

void waitUntilResumed() {
    const char* const text = std::getenv(kSuspended);
    if (text == nullptr) return;
    const int descriptor = std::atoi(text);
    unsetenv(kSuspended);
    char byte = 0;
    if (read(descriptor, &byte, 1) != 1) _exit(1);
    close(descriptor);
}

}  // namespace platform

using namespace platform;

BOOL CreateProcessW(LPCWSTR image, LPWSTR commandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL inherits,
                    DWORD flags, LPVOID environment, LPCWSTR folder, LPSTARTUPINFOW startup,
                    LPPROCESS_INFORMATION made) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    return start({image, commandLine, inherits, flags, static_cast<const WCHAR*>(environment), folder, startup,
                  processTokenState()},
                 made);
}

BOOL CreateProcessAsUserW(HANDLE handle, LPCWSTR image, LPWSTR commandLine, LPSECURITY_ATTRIBUTES,
                          LPSECURITY_ATTRIBUTES, BOOL inherits, DWORD flags, LPVOID environment, LPCWSTR folder,
                          LPSTARTUPINFOW startup, LPPROCESS_INFORMATION made) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto token = findToken(handle, TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_QUERY);
    if (token == nullptr) return FALSE;
    if (token->type != TokenPrimary) return refuse(ERROR_BAD_TOKEN_TYPE);
    if (!mayStartUnder(*token)) return refuse(ERROR_PRIVILEGE_NOT_HELD);
    return start({image, commandLine, inherits, flags, static_cast<const WCHAR*>(environment), folder, startup, token},
                 made);
}

// Returns the previous suspend count. Has no effect on a running thread.
DWORD ResumeThread(HANDLE handle) {
    static constinit CallSite site{__func__};
    constexpr DWORD kFailed = static_cast<DWORD>(-1);
    if (site.fails()) return kFailed;
    const auto thread = find<ChildThread>(handle);
    if (thread == nullptr) return kFailed;
    Descriptor pipe(thread->process->resume.release());
    if (pipe.get() < 0) return 0;
    [[maybe_unused]] const ssize_t written = write(pipe.get(), "r", 1);
    return 1;
}

// Appends the child's exit code to ended.txt, since there is no call that returns it.
BOOL TerminateProcess(HANDLE handle, UINT exitCode) {
    static constinit CallSite site{__func__};
    if (site.fails()) return FALSE;
    const auto process = find<ChildProcess>(handle);
    if (process == nullptr) return FALSE;
    const auto child = static_cast<pid_t>(process->id);
    if (process->isReaped || kill(child, SIGKILL) != 0) return refuse(ERROR_ACCESS_DENIED);
    waitpid(child, nullptr, 0);
    process->isReaped = true;
    std::ofstream(machineFolder() / "ended.txt", std::ios::app) << child << ' ' << exitCode << '\n';
    return TRUE;
}
