#include "Machine.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <optional>
#include <sstream>

#include "files/NativePath.h"
#include "process/Environment.h"
#include "text/Encoding.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNewMachine =
    "# What this machine is. Processes read it when they start.\n"
    "\n"
    "[environment]\n"
    "PROGRAMDATA = C:\\ProgramData\n"
    "\n"
    "[user operator]\n"
    "profile = C:\\Users\\operator\n"
    "\n"
    "[session 1]\n"
    "user = operator\n";

[[noreturn]] void refuse(const fs::path& what, const std::string& why) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), why.c_str());
    _exit(2);
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// One section of machine.txt: "[kind name]", then lines "key = value".
struct Section {
    std::string kind, name;
    std::map<std::string, std::string> values;
};

std::vector<Section> readSections(const fs::path& file) {
    std::ifstream input(file);
    if (!input) refuse(file, "cannot be read");
    std::vector<Section> sections;
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[' && line.back() == ']') {
            const std::string head = trimmed(line.substr(1, line.size() - 2));
            const std::size_t blank = head.find(' ');
            const std::string name = blank == std::string::npos ? "" : trimmed(head.substr(blank));
            sections.push_back({head.substr(0, blank), name, {}});
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || sections.empty())
            refuse(file, "line " + std::to_string(number) + " is neither a [section] nor key = value");
        sections.back().values[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
    }
    return sections;
}

// The value of the one key that a section of this kind has.
std::string only(const Section& section, const char* key, const fs::path& file) {
    for (const auto& [name, value] : section.values)
        if (name != key) refuse(file, "[" + section.kind + " " + section.name + "] knows no \"" + name + "\"");
    const auto found = section.values.find(key);
    return found == section.values.end() ? std::string() : found->second;
}

// "left top right bottom"
RECT readRect(const std::string& text, const Section& section, const fs::path& file) {
    std::istringstream input(text);
    RECT rect = {};
    if (!(input >> rect.left >> rect.top >> rect.right >> rect.bottom))
        refuse(file, "monitor " + section.name + ": \"" + text + "\" is not left, top, right, bottom");
    return rect;
}

Monitor readMonitor(const Section& section, const fs::path& file) {
    Monitor monitor;
    monitor.device = u"\\\\.\\" + toWide(section.name);
    monitor.bounds = {0, 0, 1920, 1080};
    for (const auto& [key, value] : section.values)
        if (key == "bounds") monitor.bounds = readRect(value, section, file);
    monitor.workArea = monitor.bounds;
    for (const auto& [key, value] : section.values) {
        if (key == "work")
            monitor.workArea = readRect(value, section, file);
        else if (key == "dpi")
            monitor.dpi = std::max(1, std::atoi(value.c_str()));
        else if (key == "primary")
            monitor.isPrimary = value == "yes";
        else if (key != "bounds")
            refuse(file, "[monitor " + section.name + "] knows no \"" + key + "\"");
    }
    return monitor;
}

Monitor commonMonitor() {
    return {u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true};
}

MachineDescription describe(const fs::path& file) {
    MachineDescription description;
    for (Section& section : readSections(file)) {
        if (section.kind == "environment") {
            description.environment.merge(section.values);
        } else if (section.kind == "user") {
            const std::string profile = only(section, "profile", file);
            if (!profile.starts_with("C:\\")) refuse(file, "the profile of " + section.name + " is not on drive C:");
            description.users.push_back({section.name, profile});
        } else if (section.kind == "session") {
            if (section.name.empty() || section.name.find_first_not_of("0123456789") != std::string::npos)
                refuse(file, "a session has a number, not \"" + section.name + "\"");
            description.sessions.push_back({static_cast<DWORD>(std::stoul(section.name)), only(section, "user", file)});
        } else if (section.kind == "monitor") {
            description.monitors.push_back(readMonitor(section, file));
        } else {
            refuse(file, "knows no section \"" + section.kind + "\"");
        }
    }
    if (description.monitors.empty()) description.monitors.push_back(commonMonitor());
    return description;
}

fs::path defaultFolder() {
    if (const char* named = std::getenv("VELLUM_MACHINE"); named != nullptr && *named != 0) return fs::absolute(named);
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/')
        return fs::path(data) / "vellum-machine";
    const char* home = std::getenv("HOME");
    return fs::path(home == nullptr ? "/tmp" : home) / ".local/share/vellum-machine";
}

// Several processes may find no machine at the same time: the first whole file wins.
void makeDescription(const fs::path& file) {
    const fs::path draft = file.string() + "." + std::to_string(getpid());
    std::ofstream(draft) << kNewMachine;
    if (link(draft.c_str(), file.c_str()) != 0 && errno != EEXIST) refuse(file, "cannot be made");
    unlink(draft.c_str());
}

Token chooseToken(const MachineDescription& description) {
    if (const char* text = std::getenv("VELLUM_TOKEN"); text != nullptr) {
        const std::string named = text;
        const std::size_t at = named.rfind('@');
        if (at == std::string::npos || at == 0) refuse("VELLUM_TOKEN", "the form is user@session");
        return {named.substr(0, at), static_cast<DWORD>(std::strtoul(named.c_str() + at + 1, nullptr, 10))};
    }
    for (const Session& session : description.sessions)
        if (!session.user.empty()) return {session.user, session.id};
    return {"SYSTEM", 0};
}

struct Running {
    fs::path folder;
    MachineDescription description;
    Token token;
};

Running start(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder / "drive_c" / "ProgramData", error);
    if (!error) fs::create_directories(folder / "registry", error);
    if (error) refuse(folder, "cannot be made: " + error.message());
    const fs::path file = folder / "machine.txt";
    if (!fs::exists(file)) makeDescription(file);
    Running running{folder, describe(file), {}};
    running.token = chooseToken(running.description);
    const bool hasSystem = [&] {
        for (const User& user : running.description.users)
            if (user.name == "SYSTEM") return true;
        return false;
    }();
    if (!hasSystem) running.description.users.push_back({"SYSTEM", "C:\\Windows\\System32\\config\\systemprofile"});
    for (const User& user : running.description.users)
        if (!user.profile.empty()) fs::create_directories(onDrive(folder, user.profile) / "AppData" / "Local", error);
    return running;
}

std::optional<Running>& current() {
    static std::optional<Running>& instance = *new std::optional<Running>;
    return instance;
}

Running& running() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (!current()) current() = start(defaultFolder());
    });
    return *current();
}

}  // namespace

const fs::path& machineFolder() {
    return running().folder;
}

const MachineDescription& machine() {
    return running().description;
}

const Token& processToken() {
    return running().token;
}

const User* findUser(std::string_view name) {
    for (const User& user : machine().users)
        if (user.name == name) return &user;
    return nullptr;
}

void useMachine(const fs::path& folder) {
    current() = start(folder);
    resetEnvironment();
}

}  // namespace platform
