#include "ctl/LogFiles.h"

#include <algorithm>
#include <charconv>
#include <tuple>

#include "common/Handles.h"
#include "common/Paths.h"
#include "ctl/LogTime.h"
#include "notes/Text.h"

namespace ctl {
namespace {

constexpr WideView kFolder = TEXT("OmbrelService_Common"), kPrefix = TEXT("Vellumd_");

WideString programData() {
    WCHAR path[MAX_PATH];
    const DWORD units = GetEnvironmentVariableW(TEXT("PROGRAMDATA"), path, MAX_PATH);
    return units < MAX_PATH ? WideString(path, units) : WideString();
}

// The names in a folder that match the pattern; none if it cannot be listed.
std::vector<WideString> namesIn(const WideString& folder, WideView pattern) {
    std::vector<WideString> names;
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(joinPath(folder, pattern).c_str(), &entry));
    for (bool found = static_cast<bool>(search); found; found = FindNextFileW(search.get(), &entry) != FALSE)
        names.emplace_back(entry.cFileName);
    return names;
}

bool readInstance(WideView folder, WideString& instance) {
    const WideView rest = folder.substr(std::min(kFolder.size(), folder.size()));
    if (!rest.empty() && rest.front() != TEXT('_')) return false;
    instance = rest.substr(rest.empty() ? 0 : 1);
    return true;
}

// "Vellumd_<session>_<user>_<yyyymmdd>.log"; the user can have underscores.
bool readName(WideView name, LogFile& file) {
    constexpr WideView kLog = TEXT(".log"), kFull = TEXT(".log.1");
    file.isFull = name.ends_with(kFull);
    if (!name.starts_with(kPrefix) || !(file.isFull || name.ends_with(kLog))) return false;
    name.remove_suffix(file.isFull ? kFull.size() : kLog.size());
    name.remove_prefix(kPrefix.size());
    const std::size_t first = name.find(TEXT('_')), last = name.rfind(TEXT('_'));
    if (first == WideView::npos || first == last) return false;
    const std::string session = wideToUtf8(name.substr(0, first));
    const auto [end, error] = std::from_chars(session.data(), session.data() + session.size(), file.session);
    file.user = name.substr(first + 1, last - first - 1);
    return error == std::errc() && end == session.data() + session.size();
}

// A display that starts a new file meanwhile is not disturbed.
DWORD readBytes(const WideString& path, std::string& bytes) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const FileHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return GetLastError();
    for (;;) {
        char buffer[65536];
        DWORD count = 0;
        if (!ReadFile(file.get(), buffer, sizeof buffer, &count, nullptr)) return GetLastError();
        if (count == 0) return ERROR_SUCCESS;
        bytes.append(buffer, count);
    }
}

// "<time> [<level>] ..."
bool readHead(std::string_view line, LogEntry& entry) {
    constexpr std::size_t kLevelAt = kLogTimeLength + 2, kLevelLength = 5;
    if (!beginsWithLogTime(line) || line.substr(kLogTimeLength, 2) != " [") return false;
    const std::string_view label = line.substr(kLevelAt, kLevelLength);
    const WideString word = utf8ToWide(label.substr(0, label.find(' ')));
    if (!logParseLevel(word.c_str(), &entry.level)) return false;
    entry.time = line.substr(0, kLogTimeLength);
    entry.text = line.substr(kLogTimeLength + 1);
    return true;
}

}  // namespace

std::string_view LogEntry::message() const {
    const std::size_t component = text.find("] "), colon = text.find(": ", component);
    return colon == std::string::npos ? std::string_view(text) : std::string_view(text).substr(colon + 2);
}

std::vector<LogFile> findLogFiles() {
    std::vector<LogFile> files;
    const WideString data = programData();
    if (data.empty()) return files;
    for (const WideString& name : namesIn(data, WideString(kFolder) + TEXT("*"))) {
        LogFile file;
        if (!readInstance(name, file.instance)) continue;
        const WideString folder = joinPath(joinPath(data, name), TEXT("Logs"));
        for (const WideString& leaf : namesIn(folder, TEXT("*"))) {
            file.path = joinPath(folder, leaf);
            if (readName(leaf, file)) files.push_back(file);
        }
    }
    const auto key = [](const LogFile& file) {
        const WideView path = file.path;
        return std::tuple(path.substr(0, path.size() - (file.isFull ? 2 : 0)), !file.isFull);
    };
    std::sort(files.begin(), files.end(), [&](const auto& left, const auto& right) { return key(left) < key(right); });
    return files;
}

DWORD readLogFile(const LogFile& file, const std::function<void(LogEntry)>& use) {
    std::string bytes;
    if (const DWORD error = readBytes(file.path, bytes); error != ERROR_SUCCESS) return error;
    LogEntry entry;
    for (std::string_view rest = bytes; !rest.empty();) {
        const std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        LogEntry next;
        if (!readHead(line, next)) {
            entry.text += (entry.text.empty() ? "" : "\n") + std::string(line);
            continue;
        }
        if (!entry.text.empty()) use(std::move(entry));
        entry = std::move(next);
    }
    if (!entry.text.empty()) use(std::move(entry));
    return ERROR_SUCCESS;
}

}  // namespace ctl
