// Parses machine.txt. Machine.cpp calls it at process start, and whenever a call needs the current state of the
// machine. Any thread.
#include "machine/Description.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "core/Encoding.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kFirstLogonTime = 0x01DC2F6A5B3C4D10;
constexpr std::int64_t kTicksOfAMinute = 600'000'000;
constexpr std::uint32_t kFirstOtherUid = 100000;

constexpr const char* kSessionStates[] = {"active", "connected", "connectquery", "shadow", "disconnected",
                                          "idle",   "listen",    "reset",        "down",   "init"};

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// One section of machine.txt: "[kind name]" and its "key = value" lines. Reading a value removes it.
class Section {
  public:
    Section(const fs::path& file, const std::string& head) : file_(file) {
        const std::size_t blank = head.find(' ');
        kind_ = head.substr(0, blank);
        name_ = blank == std::string::npos ? "" : trimmed(head.substr(blank));
    }

    const std::string& kind() const { return kind_; }
    const std::string& name() const { return name_; }
    std::map<std::string, std::string>& values() { return values_; }

    std::string text(const char* key, const std::string& otherwise = {}) {
        const auto found = values_.extract(key);
        return found.empty() ? otherwise : found.mapped();
    }
    std::uint64_t number(const char* key, std::uint64_t otherwise) {
        const auto found = values_.extract(key);
        return found.empty() ? otherwise : readNumber(key, found.mapped());
    }
    std::uint64_t readNumber(const char* what, const std::string& text) const {
        char* end = nullptr;
        const std::uint64_t value = std::strtoull(text.c_str(), &end, 0);
        if (text.empty() || *end != 0 || text.front() == '-')
            refuse(std::string(what) + " has a number, not \"" + text + "\"");
        return value;
    }
    bool isYes(const char* key, bool otherwise) {
        const std::string value = text(key, otherwise ? "yes" : "no");
        if (value != "yes" && value != "no") refuse(std::string(key) + " is yes or no");
        return value == "yes";
    }
    // Refuses the section if it has unknown keys left.
    void end() const {
        if (!values_.empty()) refuse("knows no \"" + values_.begin()->first + "\"");
    }
    [[noreturn]] void refuse(const std::string& why) const {
        refuseMachine(file_, "[" + kind_ + " " + name_ + "] " + why);
    }

  private:
    fs::path file_;
    std::string kind_, name_;
    std::map<std::string, std::string> values_;
};

std::vector<Section> readSections(const fs::path& file) {
    std::ifstream input(file);
    if (!input) refuseMachine(file, "cannot be read");
    std::vector<Section> sections;
    std::string line;
    for (int number = 1; std::getline(input, line); ++number) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[' && line.back() == ']') {
            sections.emplace_back(file, trimmed(line.substr(1, line.size() - 2)));
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || sections.empty())
            refuseMachine(file, "line " + std::to_string(number) + " is neither a [section] nor key = value");
        sections.back().values()[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
    }
    return sections;
}

// "left top right bottom"
RECT readRect(const Section& section, const std::string& text) {
    std::istringstream input(text);
    RECT rect = {};
    if (!(input >> rect.left >> rect.top >> rect.right >> rect.bottom))
        section.refuse("\"" + text + "\" is not left, top, right, bottom");
    return rect;
}

Monitor readMonitor(Section& section) {
    Monitor monitor;
    monitor.device = u"\\\\.\\" + toWide(section.name());
    monitor.bounds = readRect(section, section.text("bounds", "0 0 1920 1080"));
    const std::string work = section.text("work");
    monitor.workArea = work.empty() ? monitor.bounds : readRect(section, work);
    monitor.dpi = std::max(1, static_cast<int>(section.number("dpi", 96)));
    monitor.isPrimary = section.isYes("primary", false);
    return monitor;
}

Monitor commonMonitor() {
    return {u"\\\\.\\DISPLAY1", {0, 0, 1920, 1080}, {0, 0, 1920, 1040}, 96, true};
}

// The first user gets the uid that runs the stand-in, so that the files it creates belong to that user.
User readUser(Section& section, std::size_t usersBefore) {
    const bool isSystem = section.name() == "SYSTEM";
    const auto order = static_cast<std::uint32_t>(usersBefore);
    User user;
    user.name = section.name();
    user.profile = section.text("profile", isSystem ? "C:\\Windows\\System32\\config\\systemprofile" : "");
    if (!user.profile.starts_with("C:\\")) section.refuse("has its profile not on drive C:");
    user.sid = section.text(
        "sid", isSystem ? "S-1-5-18" : "S-1-5-21-1004336348-1177238915-682003330-" + std::to_string(1001 + order));
    user.isAdministrator = section.isYes("administrator", isSystem);
    user.uid = static_cast<std::uint32_t>(section.number("uid", isSystem     ? kFirstOtherUid
                                                                : order == 0 ? geteuid()
                                                                             : kFirstOtherUid + order));
    return user;
}

DWORD readState(Section& section, const std::string& otherwise) {
    const std::string state = section.text("state", otherwise);
    const auto found = std::find(std::begin(kSessionStates), std::end(kSessionStates), state);
    if (found == std::end(kSessionStates)) section.refuse("knows no state \"" + state + "\"");
    return static_cast<DWORD>(found - std::begin(kSessionStates));
}

Logon readLogon(Section& section, const std::string& prefix, const Logon& otherwise) {
    Logon logon = otherwise;
    logon.time = static_cast<std::int64_t>(
        section.number((prefix + "time").c_str(), static_cast<std::uint64_t>(otherwise.time)));
    logon.type = static_cast<DWORD>(section.number((prefix + "type").c_str(), otherwise.type));
    logon.hasData = section.isYes((prefix + "data").c_str(), true);
    return logon;
}

std::int64_t logonTimeOf(DWORD sessionId) {
    return kFirstLogonTime + sessionId * kTicksOfAMinute;
}

void readSession(Section& section, MachineDescription& description) {
    if (section.name().empty() || section.name().find_first_not_of("0123456789") != std::string::npos)
        section.refuse("is wrong: a session has a number");
    Session session;
    session.id = static_cast<DWORD>(section.readNumber("a session", section.name()));
    session.user = section.text("user");
    const bool hasUser = !session.user.empty();
    session.state = readState(section, hasUser ? "active" : "connected");
    session.logonId = section.number("logon", kFirstLogonId + session.id);
    session.hasShell = section.isYes("shell", hasUser);
    session.isElevated = section.isYes("elevated", false);
    session.shellToken = section.text("shell token");
    session.userToken = section.text("user token");
    const Logon logon =
        readLogon(section, "logon ", {session.logonId, session.user, session.id, logonTimeOf(session.id), 2, true});
    if (hasUser) description.logons.push_back(logon);
    description.sessions.push_back(std::move(session));
}

Logon readLogonSection(Section& section) {
    const std::uint64_t id = section.readNumber("a logon", section.name());
    const auto sessionId = static_cast<DWORD>(section.number("session", 0));
    return readLogon(section, "", {id, section.text("user"), sessionId, logonTimeOf(sessionId), 2, true});
}

std::size_t ordinaryUsers(const MachineDescription& description) {
    return static_cast<std::size_t>(
        std::ranges::count_if(description.users, [](const User& user) { return user.name != "SYSTEM"; }));
}

void readSection(Section& section, MachineDescription& description) {
    if (section.kind() == "environment")
        description.environment.merge(std::exchange(section.values(), {}));
    else if (section.kind() == "user")
        description.users.push_back(readUser(section, ordinaryUsers(description)));
    else if (section.kind() == "session")
        readSession(section, description);
    else if (section.kind() == "logon")
        description.logons.push_back(readLogonSection(section));
    else if (section.kind() == "monitor")
        description.monitors.push_back(readMonitor(section));
    else
        section.refuse("is unknown: it knows no section \"" + section.kind() + "\"");
    section.end();
}

}  // namespace

const char* const kNewMachine =
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

void refuseMachine(const fs::path& what, const std::string& why) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), why.c_str());
    _exit(2);
}

MachineDescription readDescription(const fs::path& file) {
    MachineDescription description;
    for (Section& section : readSections(file))
        readSection(section, description);
    if (std::ranges::none_of(description.users, [](const User& user) { return user.name == "SYSTEM"; })) {
        Section system(file, "user SYSTEM");
        description.users.push_back(readUser(system, 0));
    }
    description.logons.push_back({kSystemLogonId, "SYSTEM", 0, kFirstLogonTime, 0, true});
    if (description.monitors.empty()) description.monitors.push_back(commonMonitor());
    return description;
}

}  // namespace platform
