// A child is a real process on the same machine. Its token goes to it as VELLUM_TOKEN. One that is started suspended
// has its image and waits at the very start of main(), on a pipe, for the byte that resumes it; when the pipe's other
// end goes without one, it ends. No descriptor is inherited but that and the standard streams, unless the caller asks
// for it: then all are that do not close with an exec. The stand-in opens none of that kind.
#include "process/Children.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
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

constexpr const char* kSuspended = "VELLUM_SUSPENDED";  // the descriptor of the pipe

std::mutex lock;
std::list<pid_t> abandoned;  // children whose handles are gone, and whose end nobody has taken note of yet

// Leaves no dead children behind for longer than needed.
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
    const WCHAR* environment;  // null: this process's
    LPCWSTR folder;
    const STARTUPINFOW* startup;
    std::shared_ptr<TokenState> token;
};

// A block of bytes, which lacks the flag, is something that nobody passes; what is passed would be taken for one.
bool isUnderstood(const Start& wanted) {
    constexpr DWORD kKnown = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT | CREATE_BREAKAWAY_FROM_JOB;
    const bool isWide = wanted.environment == nullptr || (wanted.flags & CREATE_UNICODE_ENVIRONMENT) != 0;
    const bool hasSize = wanted.startup != nullptr && wanted.startup->cb == sizeof *wanted.startup;
    return (isWide && hasSize && (wanted.flags & ~kKnown) == 0) || refuse(ERROR_INVALID_PARAMETER);
}

// What the stand-in and its sanitizers need goes along whatever the child's environment is; faults do not.
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

// What the child does between fork and exec: only what is safe there. It tells a failure through `report`.
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

bool start(const Start& wanted, PROCESS_INFORMATION* made) {
    reapAbandoned();
    std::string image, folder;
    if (!nativePath(wanted.image, image) || (wanted.folder != nullptr && !nativePath(wanted.folder, folder)))
        return false;
    std::string job;
    if (!isUnderstood(wanted) ||
        !chooseChildJob((wanted.flags & CREATE_BREAKAWAY_FROM_JOB) != 0, wanted.token->who.sessionId, job))
        return false;
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

    // The other end closes with the exec, so that this process waits until the child has its image.
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

// A token of one's own with no more rights needs no privilege.
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

// How often the thread was suspended before; a thread that runs stays as it is.
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

// Nobody asks for the code of a child: ended.txt tells it.
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
