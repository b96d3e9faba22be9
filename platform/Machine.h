// The machine that this process runs on, and what a test may set on it.
//
// A machine is a folder, named by the environment variable VELLUM_MACHINE (default: "vellum-machine" under the
// user's data folder). All processes that name the same folder run on the same machine. It holds
//
//     machine.txt    users, sessions, monitors and the system's environment variables; meant to be edited
//     drive_c/       drive C:
//     registry/      one folder a key, one file a value
//
// A process runs under the token of the first session that has a user. The environment variable VELLUM_TOKEN
// picks another: "user@session", such as "operator@2" or "SYSTEM@0".
#pragma once

#include <windef.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace platform {

struct User {
    std::string name;
    std::string profile;  // Windows path of the profile folder
};

struct Session {
    DWORD id = 0;
    std::string user;  // empty: nobody is logged on
};

// Who the process is.
struct Token {
    std::string user;
    DWORD sessionId = 0;
};

struct Monitor {
    std::u16string device;  // such as \\\\.\\DISPLAY1
    RECT bounds = {};
    RECT workArea = {};
    LONG dpi = 96;
    bool isPrimary = false;
};

// What machine.txt says.
struct MachineDescription {
    std::map<std::string, std::string> environment;
    std::vector<User> users;
    std::vector<Session> sessions;
    std::vector<Monitor> monitors;  // of every session's desktop
};

// The folder, made and filled on first need. A machine that cannot be made or read ends the process with a
// message, since nothing can run without one.
const std::filesystem::path& machineFolder();
const MachineDescription& machine();
const Token& processToken();
// Null when machine.txt names no such user.
const User* findUser(std::string_view name);

// Moves this process to another machine; for tests.
void useMachine(const std::filesystem::path& folder);

// Makes the text that GetCommandLineW gives from the arguments of main(), the program's name first.
void setCommandLine(const std::vector<std::string>& arguments);

// The clock: real time until a test sets it, then standing still until the test moves it.
namespace clock {
// Milliseconds since 1970 in UTC.
std::int64_t now();
void set(std::int64_t milliseconds);
void advance(std::int64_t milliseconds);
void useRealTime();
}  // namespace clock

// What the process said: every OutputDebugStringW and every MessageBoxW. Both go to standard error, until a test
// silences them; from then on they are kept for it instead.
struct MessageBox {
    std::u16string caption;
    std::u16string text;
    UINT type = 0;
};
namespace notices {
std::vector<std::u16string> takeDebugOutput();
std::vector<MessageBox> takeMessageBoxes();
void silence(bool on);
}  // namespace notices

}  // namespace platform
