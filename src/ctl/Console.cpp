#include "ctl/Console.h"

#include <windows.h>

#include <algorithm>

#include "common/WriteAll.h"
#include "ctl/Failure.h"
#include "notes/Text.h"

namespace ctl {
namespace {

bool isConsole(HANDLE stream) {
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) != FALSE;
}

bool writeToConsole(HANDLE console, WideView text) {
    constexpr std::size_t kMostAtOnce = 8192;  // a console refuses long texts
    while (!text.empty()) {
        DWORD written = 0;
        const DWORD wanted = static_cast<DWORD>(std::min(text.size(), kMostAtOnce));
        if (!WriteConsoleW(console, text.data(), wanted, &written, nullptr) || written == 0) return false;
        text.remove_prefix(written);
    }
    return true;
}

bool write(DWORD which, std::string_view text) {
    const HANDLE stream = GetStdHandle(which);
    if (stream == nullptr || stream == INVALID_HANDLE_VALUE) return true;  // the caller wants no output
    return isConsole(stream) ? writeToConsole(stream, utf8ToWide(text)) : writeAll(stream, text);
}

std::string readConsole(HANDLE console) {
    constexpr WCHAR kEnd = 0x1A;  // Ctrl+Z
    WideString text;
    for (;;) {
        WCHAR buffer[1024];
        DWORD count = 0;
        if (!ReadConsoleW(console, buffer, 1024, &count, nullptr)) throw lastFailure("cannot read the console");
        text.append(buffer, count);
        const std::size_t end = text.find(kEnd);
        if (count != 0 && end == WideString::npos) continue;
        return wideToUtf8(WideView(text).substr(0, end));
    }
}

std::string readStream(HANDLE stream) {
    std::string text;
    for (;;) {
        char buffer[65536];
        DWORD count = 0;
        if (!ReadFile(stream, buffer, sizeof buffer, &count, nullptr)) {
            const DWORD error = GetLastError();
            if (error == ERROR_BROKEN_PIPE) return text;  // the writer has closed its end
            throw systemFailure("cannot read standard input", error);
        }
        if (count == 0) return text;
        text.append(buffer, count);
    }
}

}  // namespace

void printOut(std::string_view text) {
    if (!write(STD_OUTPUT_HANDLE, text)) throw lastFailure("cannot write to standard output");
}

void printError(std::string_view text) {
    std::string line = "vellumctl: ";
    line += text;
    line += '\n';
    static_cast<void>(write(STD_ERROR_HANDLE, line));
}

std::string readInput() {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const HANDLE stream = GetStdHandle(STD_INPUT_HANDLE);
    if (stream == nullptr || stream == INVALID_HANDLE_VALUE) throw Failure{kUsage, "there is no standard input"};
    std::string text = isConsole(stream) ? readConsole(stream) : readStream(stream);
    if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
    return text;
}

}  // namespace ctl
