// Runs the child under a debugger to receive its debug output. Reads a message box and presses its button.
#include "support/Process.h"

#include <atomic>
#include <list>
#include <thread>

#include "common/Folders.h"
#include "common/Handles.h"
#include "common/Paths.h"
#include "support/Files.h"
#include "support/Text.h"

namespace {

constexpr DWORD kLimitMs = 60000;

struct Pipe {
    KernelHandle reader, writer;
};

Pipe makePipe() {
    Pipe pipe;
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    CreatePipe(pipe.reader.put(), pipe.writer.put(), &inheritable, 0);
    SetHandleInformation(pipe.reader.get(), HANDLE_FLAG_INHERIT, 0);
    return pipe;
}

void readAll(HANDLE reader, std::string& text) {
    char buffer[4096];
    DWORD length = 0;
    while (ReadFile(reader, buffer, sizeof buffer, &length, nullptr) && length > 0)
        text.append(buffer, length);
}

// Uses a timeout, since the window's process may be stopped at a debug event.
std::string windowText(HWND window) {
    WCHAR text[4096] = {};
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, 4096, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, 1000, &length);
    return utf8(text);
}

bool isClass(HWND window, WideView name) {
    WCHAR className[32];
    return equalsIgnoreCase(WideView(className, static_cast<std::size_t>(GetClassNameW(window, className, 32))), name);
}

// Reads and closes the message box of the process. False if it shows none.
bool answerBox(DWORD processId, ProcessResult& result) {
    const HWND box = FindWindowW(TEXT("#32770"), TEXT("Vellumd"));
    DWORD owner = 0;
    if (box == nullptr || GetWindowThreadProcessId(box, &owner) == 0 || owner != processId) return false;
    if (!IsWindowVisible(box)) return false;  // still being created
    for (HWND child = GetWindow(box, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT))
        if (isClass(child, TEXT("Static"))) result.boxText += windowText(child);
    result.boxCaption = windowText(box);
    PostMessageW(box, WM_COMMAND, IDOK, 0);
    return true;
}

void takeDebugText(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info, ProcessResult& result) {
    std::string bytes(info.nDebugStringLength, 0);
    SIZE_T length = 0;
    if (!ReadProcessMemory(process, info.lpDebugStringData, bytes.data(), bytes.size(), &length)) return;
    if (info.fUnicode) {
        const WideView text(reinterpret_cast<const WCHAR*>(bytes.data()), length / sizeof(WCHAR));
        result.debugOutput += utf8(text.substr(0, text.find(WCHAR(0))));
    } else {
        result.debugOutput += std::string(bytes.c_str());
    }
}

// Handles the debug events of the child until it ends.
void serve(const PROCESS_INFORMATION& child, ProcessResult& result) {
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < kLimitMs) {
        DEBUG_EVENT event;
        if (!WaitForDebugEvent(&event, 100)) continue;
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT)
            takeDebugText(child.hProcess, event.u.DebugString, result);
        if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT) CloseHandle(event.u.CreateProcessInfo.hFile);
        if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT) CloseHandle(event.u.LoadDll.hFile);
        if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
            event.u.Exception.ExceptionRecord.ExceptionCode != static_cast<DWORD>(EXCEPTION_BREAKPOINT))
            answer = static_cast<DWORD>(DBG_EXCEPTION_NOT_HANDLED);
        if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            result.finished = true;
            result.exitCode = event.u.ExitProcess.dwExitCode;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
        if (result.finished) return;
    }
    TerminateProcess(child.hProcess, 0xffffffff);
}

}  // namespace

ProcessResult runVellumd(const WideString& arguments, const Environment& environment) {
    const WideString image = joinPath(parentPath(executablePath()), TEXT("Vellumd.exe"));
    WideString commandLine = TEXT("\"") + image + TEXT("\" ") + arguments;
    std::list<EnvironmentScope> inherited;
    for (const auto& [name, value] : environment)
        inherited.emplace_back(wide(name).c_str(), wide(value).c_str());

    Pipe out = makePipe();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.writer.get();
    PROCESS_INFORMATION child = {};
    ProcessResult result;
    const BOOL started = CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                                        DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &startup, &child);
    inherited.clear();
    if (!started) return result;
    const KernelHandle process(child.hProcess), thread(child.hThread);
    out.writer.reset();
    std::thread reading(readAll, out.reader.get(), std::ref(result.output));
    std::atomic<bool> ended{false};
    std::thread answering([&] {
        while (!ended && !answerBox(child.dwProcessId, result))
            Sleep(20);
    });
    serve(child, result);
    ended = true;
    reading.join();
    answering.join();
    return result;
}

ConsoleResult runVellumctl(const WideString& arguments, const std::string& input) {
    const WideString image = joinPath(parentPath(executablePath()), TEXT("vellumctl.exe"));
    WideString commandLine = TEXT("\"") + image + TEXT("\" ") + arguments;
    Pipe in = makePipe(), out = makePipe(), err = makePipe();
    SetHandleInformation(in.reader.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    SetHandleInformation(in.writer.get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.reader.get();
    startup.hStdOutput = out.writer.get();
    startup.hStdError = err.writer.get();
    PROCESS_INFORMATION child = {};
    ConsoleResult result;
    if (!CreateProcessW(image.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &child))
        return result;
    const KernelHandle process(child.hProcess), thread(child.hThread);
    for (Pipe* pipe : {&out, &err})
        pipe->writer.reset();
    in.reader.reset();
    DWORD written = 0;
    WriteFile(in.writer.get(), input.data(), static_cast<DWORD>(input.size()), &written, nullptr);  // fits into a pipe
    in.writer.reset();
    std::thread reading(readAll, out.reader.get(), std::ref(result.output));
    std::thread readingErrors(readAll, err.reader.get(), std::ref(result.errors));
    if (WaitForSingleObject(process.get(), kLimitMs) != WAIT_OBJECT_0) TerminateProcess(process.get(), 0xffffffff);
    reading.join();
    readingErrors.join();
    GetExitCodeProcess(process.get(), &result.exitCode);
    return result;
}
