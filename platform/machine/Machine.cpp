// Finds, creates and reads the machine folder, and decides the token of the process. Called on any thread. Only tests
// change it, while no other thread runs.
#include "machine/Machine.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <optional>

#include "machine/Description.h"
#include "machine/Environment.h"
#include "machine/NativePath.h"
#include "machine/TokenText.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDescriptionName = "machine.txt";

fs::path defaultFolder() {
    return machineFolderIn([](const char* name) {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    });
}

// Several processes may create the machine at the same time. The first complete file wins.
void makeDescription(const fs::path& file) {
    const fs::path draft = file.string() + "." + std::to_string(getpid());
    std::ofstream(draft) << kNewMachine;
    if (link(draft.c_str(), file.c_str()) != 0 && errno != EEXIST) refuseMachine(file, "cannot be made");
    unlink(draft.c_str());
}

Token describedToken(const std::string& text, const MachineDescription& description) {
    Token token;
    std::string mistake;
    if (!readToken(text, description, token, mistake)) refuseMachine("VELLUM_TOKEN", mistake);
    return token;
}

Token chooseToken(const MachineDescription& description) {
    if (const char* text = std::getenv("VELLUM_TOKEN"); text != nullptr) return describedToken(text, description);
    for (const Session& session : description.sessions)
        if (!session.user.empty()) return ordinaryToken(description, session);
    return describedToken("SYSTEM@0", description);
}

struct Running {
    fs::path folder;
    MachineDescription description;
    Token token;
};

// Makes the folders of a profile, and its value in the registry's list of profiles. What is there stays.
void makeProfile(const fs::path& folder, const std::string& path, const std::string& value) {
    const fs::path list =
        folder / "registry/HKEY_LOCAL_MACHINE/SOFTWARE/Microsoft/Windows NT/CurrentVersion/ProfileList";
    const fs::path file = list / (value + ".REG_EXPAND_SZ");
    std::error_code error;
    fs::create_directories(onDrive(folder, path) / "AppData" / "Local", error);
    if (fs::exists(file, error)) return;
    fs::create_directories(file.parent_path(), error);
    std::ofstream(file) << path;
}

Running start(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder / "drive_c" / "ProgramData", error);
    if (!error) fs::create_directories(folder / "registry", error);
    if (error) refuseMachine(folder, "cannot be made: " + error.message());
    const fs::path file = folder / kDescriptionName;
    if (!fs::exists(file)) makeDescription(file);
    Running running{folder, readDescription(file), {}};
    running.token = chooseToken(running.description);
    for (const User& user : running.description.users)
        if (!user.profile.empty()) makeProfile(folder, user.profile, user.sid + "/ProfileImagePath");
    makeProfile(folder, "C:\\Users\\Default", "Default");
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

fs::path machineFolderIn(const std::function<std::string(const char* name)>& variable) {
    if (const std::string named = variable("VELLUM_MACHINE"); !named.empty()) return fs::absolute(named);
    if (const std::string data = variable("XDG_DATA_HOME"); data.starts_with('/'))
        return fs::path(data) / "vellum-machine";
    const std::string home = variable("HOME");
    return fs::path(home.empty() ? "/tmp" : home) / ".local/share/vellum-machine";
}

const fs::path& machineFolder() {
    return running().folder;
}

const MachineDescription& machine() {
    return running().description;
}

const Token& processToken() {
    return running().token;
}

bool isAdministrator() {
    return processToken().administrators == Administrators::Enabled;
}

const User* findUser(std::string_view name) {
    for (const User& user : machine().users)
        if (user.name == name) return &user;
    return nullptr;
}

MachineDescription machineNow() {
    return readDescription(machineFolder() / kDescriptionName);
}

void enterMachine(const fs::path& folder) {
    current() = start(folder);
    resetEnvironment();
}

void takeToken(const std::string& description) {
    running().token = describedToken(description, machine());
}

}  // namespace platform
