// Writes, reads, deletes and runs task files. Called by TaskService.cpp and vellum-fire-task on one thread.
#include "tasks/TaskFile.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>
#include <vector>

#include "core/Clock.h"
#include "core/Encoding.h"
#include "machine/Environment.h"
#include "machine/Machine.h"
#include "machine/NativePath.h"
#include "process/CommandLine.h"

extern char** environ;

namespace platform::tasks {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRuns = "task-runs";
constexpr HRESULT kTaskDisabled = static_cast<HRESULT>(0x80041326);  // SCHED_E_TASK_DISABLED

bool isPlain(std::u16string_view text) {
    return std::ranges::none_of(text, [](char16_t unit) { return unit < u' '; });
}

// Finds the file path of a task, ignoring case, or of its last run. The file need not exist.
HRESULT findFile(const std::u16string& name, std::string& file, const char* where = "tasks") {
    const bool isName = !name.empty() && isPlain(name) && name.find_first_of(u"\\/:*?\"<>|") == name.npos;
    if (!isName) return HRESULT_FROM_WIN32(ERROR_INVALID_NAME);
    const fs::path folder = machineFolder() / where;
    std::error_code error;
    fs::create_directories(folder, error);
    if (!nativePath((windowsPath(folder) + u"\\" + name + u".txt").c_str(), file))
        return HRESULT_FROM_WIN32(GetLastError());
    return S_OK;
}

// The error of the last failed file operation, from errno.
HRESULT fileError(const std::string& file) {
    setFileError(errno, file);
    return HRESULT_FROM_WIN32(GetLastError());
}

// Writes "key = value" lines under headings.
class Lines {
  public:
    void heading(const std::string& text) { out_ << "\n[" << text << "]\n"; }
    void line(const char* key, const std::u16string& value) {
        isPlain_ = isPlain_ && tasks::isPlain(value);
        if (!value.empty()) out_ << key << " = " << toUtf8(value) << '\n';
    }
    // VARIANT_BOOL is an integer type too and gets its own overload.
    void line(const char* key, INT value) { out_ << key << " = " << value << '\n'; }
    void line(const char* key, VARIANT_BOOL value) { out_ << key << " = " << (value ? "yes" : "no") << '\n'; }

    bool isPlain() const { return isPlain_; }
    std::string text() const { return out_.str(); }

  private:
    std::ostringstream out_;
    bool isPlain_ = true;
};

const char* typeName(TASK_TRIGGER_TYPE2 type) {
    switch (type) {
        case TASK_TRIGGER_TIME:
            return "time";
        case TASK_TRIGGER_BOOT:
            return "boot";
        case TASK_TRIGGER_LOGON:
            return "logon";
        case TASK_TRIGGER_SESSION_STATE_CHANGE:
            return "session state change";
    }
    return "";
}

const char* changeName(TASK_SESSION_STATE_CHANGE_TYPE change) {
    switch (change) {
        case TASK_CONSOLE_CONNECT:
            return "console connect";
        case TASK_REMOTE_CONNECT:
            return "remote connect";
        case TASK_SESSION_UNLOCK:
            return "unlock";
    }
    return "";
}

std::u16string named(INT value, const char* name) {
    return toWide(std::to_string(value) + " (" + name + ")");
}

void writePrincipal(const Task& task, Lines& lines) {
    lines.heading("principal");
    lines.line("user", task.user);
    lines.line("logon type", task.logonType == TASK_LOGON_SERVICE_ACCOUNT ? named(task.logonType, "service account")
                                                                          : named(task.logonType, "none"));
    lines.line("run level", task.runLevel == TASK_RUNLEVEL_HIGHEST ? named(task.runLevel, "highest")
                                                                   : named(task.runLevel, "least"));
}

void writeSettings(const Task& task, Lines& lines) {
    lines.heading("settings");
    lines.line("enabled", task.isEnabled);
    lines.line("start when available", task.startsWhenAvailable);
    lines.line("disallow start on batteries", task.staysOffOnBatteries);
    lines.line("stop when going on batteries", task.stopsOnBatteries);
    lines.line("run only if idle", task.runsOnlyIfIdle);
    lines.line("run only if network available", task.runsOnlyWithNetwork);
    lines.line("allow demand start", task.allowsDemandStart);
    lines.line("execution time limit", task.timeLimit);
    lines.line("multiple instances", named(task.instances, "ignore new"));
    lines.line("restart interval", task.restartInterval);
    lines.line("restart count", task.restartCount);
}

void writeTrigger(const Trigger& trigger, Lines& lines) {
    lines.heading("trigger " + toUtf8(trigger.id));
    lines.line("type", named(trigger.type, typeName(trigger.type)));
    if (trigger.type == TASK_TRIGGER_SESSION_STATE_CHANGE)
        lines.line("state change", named(trigger.change, changeName(trigger.change)));
    lines.line("delay", trigger.delay);
    lines.line("start", trigger.start);
    lines.line("repetition interval", trigger.repetitionInterval);
    if (!trigger.repetitionInterval.empty()) lines.line("stop at duration end", trigger.stopsAtDurationEnd);
}

Lines write(const Task& task) {
    Lines lines;
    lines.line("author", task.author);
    lines.line("description", task.description);
    lines.line("security descriptor", task.security);
    writePrincipal(task, lines);
    writeSettings(task, lines);
    for (const Trigger& trigger : task.triggers)
        writeTrigger(trigger, lines);
    lines.heading("action");
    lines.line("path", task.action->path);
    lines.line("arguments", task.action->arguments);
    lines.line("working directory", task.action->workingDirectory);
    return lines;
}

// Headings are ignored: every key of the settings and the action is unique in the file.
std::map<std::string, std::string> readLines(std::istream& file) {
    std::map<std::string, std::string> values;
    for (std::string line; std::getline(file, line);)
        if (const std::size_t at = line.find(" = "); at != line.npos) values[line.substr(0, at)] = line.substr(at + 3);
    return values;
}

// The environment of the new process. It does not inherit the caller's faults and other VELLUM_ variables.
std::vector<std::string> systemEnvironment() {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (!std::string_view(*variable).starts_with("VELLUM_")) variables.push_back(*variable);
    variables.push_back("VELLUM_MACHINE=" + machineFolder().string());
    variables.push_back("VELLUM_TOKEN=SYSTEM@0");
    variables.push_back("VELLUM_JOB=scheduler breakaway");
    return variables;
}

// Runs in a forked child of a process that may have threads, so it makes only system calls.
[[noreturn]] void becomeAction(char** arguments, char** environment, const char* directory) {
    if (fork() != 0) _exit(0);  // the caller waits for this process; the action becomes a child of init
    setsid();
    const int nothing = open("/dev/null", O_RDWR);
    for (int stream = 0; stream <= 2; ++stream)
        dup2(nothing, stream);
    close_range(3, ~0U, 0);
    if (*directory == 0 || chdir(directory) == 0) execve(arguments[0], arguments, environment);
    _exit(127);
}

// A shell runs the action, waits for it and writes what its exit code was.
std::vector<std::string> shellArguments(const std::string& record, const std::string& start) {
    constexpr const char* kScript =
        "record=$1 start=$2; shift 2\n"
        "\"$@\"\n"
        "printf 'last run = %s\\nlast result = %s\\n' \"$start\" $? >\"$record.$$\" && mv \"$record.$$\" \"$record\"";
    return {"/bin/sh", "-c", kScript, "task", record, start};
}

// Notes that the action runs. Returns when it was started, in seconds since 1970.
std::string recordStart(const std::string& record) {
    const std::string start = std::to_string(clock::now() / 1000), draft = record + "." + std::to_string(getpid());
    std::ofstream(draft) << "last run = " << start << "\nlast result = " << SCHED_S_TASK_RUNNING << '\n';
    rename(draft.c_str(), record.c_str());
    return start;
}

HRESULT startAction(std::map<std::string, std::string>& values, const std::string& record) {
    const std::u16string path = toWide(values["path"]), directory = toWide(values["working directory"]);
    std::string program, folder;
    if (!nativePath(path.c_str(), program)) return HRESULT_FROM_WIN32(GetLastError());
    if (!directory.empty() && !nativePath(directory.c_str(), folder)) return HRESULT_FROM_WIN32(GetLastError());
    std::vector<std::string> arguments = shellArguments(record, recordStart(record));
    const std::size_t first = arguments.size();
    for (const std::u16string& argument : splitCommandLine(u"\"\" " + toWide(values["arguments"])))
        arguments.push_back(toUtf8(argument));
    arguments[first] = program;
    std::vector<std::string> environment = systemEnvironment();
    std::vector<char*> argumentList = pointersTo(arguments), environmentList = pointersTo(environment);
    const pid_t child = fork();
    if (child < 0) return E_OUTOFMEMORY;
    if (child == 0) becomeAction(argumentList.data(), environmentList.data(), folder.c_str());
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return S_OK;
}

}  // namespace

HRESULT save(const std::u16string& name, const Task& task) {
    if (!task.action || task.action->path.empty()) return E_INVALIDARG;
    std::string file;
    if (const HRESULT refused = findFile(name, file); FAILED(refused)) return refused;
    const Lines lines = write(task);
    if (!lines.isPlain()) return E_INVALIDARG;
    const std::string draft = file + "." + std::to_string(getpid());
    std::ofstream(draft) << lines.text();
    if (rename(draft.c_str(), file.c_str()) == 0) return S_OK;
    const HRESULT error = fileError(file);
    unlink(draft.c_str());
    return error;
}

HRESULT remove(const std::u16string& name) {
    std::string file, record;
    if (const HRESULT refused = findFile(name, file); FAILED(refused)) return refused;
    if (unlink(file.c_str()) != 0) return fileError(file);
    if (SUCCEEDED(findFile(name, record, kRuns))) unlink(record.c_str());
    return S_OK;
}

std::vector<std::u16string> list(bool isAdministrator) {
    std::vector<std::u16string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(machineFolder() / "tasks", error)) {
        std::ifstream file(entry.path());
        if (entry.path().extension() != ".txt" || !file) continue;
        if (isAdministrator || !readLines(file).contains("security descriptor"))
            names.push_back(toWide(entry.path().stem().string()));
    }
    std::ranges::sort(names);
    return names;
}

Run lastRun(const std::u16string& name) {
    std::string record;
    if (FAILED(findFile(name, record, kRuns))) return {};
    std::ifstream file(record);
    std::map<std::string, std::string> values = readLines(file);
    if (!values.contains("last result")) return {};
    return {std::atoll(values["last run"].c_str()), static_cast<LONG>(std::atol(values["last result"].c_str()))};
}

HRESULT run(const std::u16string& name) {
    std::string path, record;
    if (const HRESULT refused = findFile(name, path); FAILED(refused)) return refused;
    if (const HRESULT refused = findFile(name, record, kRuns); FAILED(refused)) return refused;
    std::ifstream file(path);
    if (!file) return fileError(path);
    std::map<std::string, std::string> values = readLines(file);
    if (values["enabled"] != "yes" || values["allow demand start"] != "yes") return kTaskDisabled;
    return startAction(values, record);
}

}  // namespace platform::tasks
