// vellumctl log.
#include <algorithm>

#include "ctl/Console.h"
#include "ctl/Failure.h"
#include "ctl/LogFiles.h"
#include "ctl/Request.h"
#include "notes/Text.h"

namespace ctl {
namespace {

struct Line {
    std::string time;
    std::string text;
};

// Who wrote the line: "2:ann" or, with an instance, "2:ann:blue".
std::string originOf(const LogFile& file) {
    const std::string instance = file.instance.empty() ? "" : ":" + wideToUtf8(file.instance);
    return std::to_string(file.session) + ":" + wideToUtf8(file.user) + instance;
}

void addLines(const LogFile& file, const LogRequest& request, std::vector<Line>& lines) {
    const std::string origin = originOf(file);
    const DWORD error = readLogFile(file, [&](const LogEntry& entry) {
        if (entry.time >= request.since && entry.level >= request.level)
            lines.push_back({entry.time, entry.time + " " + origin + " " + entry.text + "\n"});
    });
    if (error != ERROR_SUCCESS) printError(systemFailure("cannot read " + wideToUtf8(file.path), error).text);
}

}  // namespace

int run(const LogRequest& request) {
    std::vector<LogFile> files = findLogFiles();
    std::erase_if(files, [&](const LogFile& file) {
        return request.instance && !equalsIgnoreCase(file.instance, *request.instance);
    });
    if (files.empty()) throw Failure{kNo, "there are no log files"};
    std::vector<Line> lines;
    for (const LogFile& file : files)
        addLines(file, request, lines);
    std::stable_sort(lines.begin(), lines.end(),
                     [](const Line& left, const Line& right) { return left.time < right.time; });
    std::string text;
    for (const Line& line : lines)
        text += line.text;
    printOut(text);
    return kDone;
}

}  // namespace ctl
