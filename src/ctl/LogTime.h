// Times as the log files have them, "2026-03-14T09:26:53.123Z". As texts they compare like the times.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ctl/NotesFolder.h"

namespace ctl {

std::string logTimeOf(FileTime time);

// Whether the text begins with the time of a log line.
bool beginsWithLogTime(std::string_view line);
constexpr std::size_t kLogTimeLength = 24;

// The start of the day that the computer's clock shows.
FileTime startOfToday();
// A time in local time, as UTC, with the offset of now.
FileTime utcOf(FileTime local);

// Reads a UTC time, from a day to milliseconds, or a span before now: 90s, 30m, 2h, 3d. The result compares with the
// times of log lines. Nothing for another text.
std::optional<std::string> readSince(std::string_view text);

}  // namespace ctl
