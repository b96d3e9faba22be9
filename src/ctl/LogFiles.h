// The log files that Vellumd has written on this computer. They are open while a display runs; reading disturbs nobody.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/Logger.h"

namespace ctl {

struct LogFile {
    WideString instance;  // empty: none
    DWORD session = 0;
    WideString user;
    WideString path;
    bool isFull = false;  // one that ends in ".log.1": nobody writes to it any more
};

// Those of all instances, sessions and days; of the same name the full one first.
std::vector<LogFile> findLogFiles();

// A line, with the lines that belong to it.
struct LogEntry {
    std::string time;  // empty for what stands before the first line with a time
    LogLevel level = LogLevel::Info;
    std::string text;  // from the level on, without the last line end

    // What follows the component.
    std::string_view message() const;
};

// Calls `use` for each entry, also for a last one that is not yet complete. Returns a Windows error number.
DWORD readLogFile(const LogFile& file, const std::function<void(LogEntry)>& use);

}  // namespace ctl
