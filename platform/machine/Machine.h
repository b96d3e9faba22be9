// The machine that this process runs on.
//
// A machine is a folder, named by the environment variable VELLUM_MACHINE (default: "vellum-machine" under the user's
// data folder). All processes with the same folder run on the same machine. The folder holds
//
//     machine.txt    users, sessions, monitors and the system's environment variables; meant to be edited
//     drive_c/       drive C:
//     registry/      one folder for each key, one file for each value
//
// A process runs under the ordinary token of the first session that has a user. The environment variable VELLUM_TOKEN
// selects another token: "user@session", such as "operator@2" or "SYSTEM@0", followed by any of these, in any order:
//
//     untrusted, low, medium, high, system, 0x2100    its integrity level
//     logon=0x3A001                                   its logon session, if it is not the session's own
//     impersonating                                   the thread also impersonates this user
//
// For an administrator, "high" is the full token; any lower level is the limited token.
//
// VELLUM_CHILD_TOKEN, in the same form, overrides the token of child processes, to simulate a wrong token.
//
// VELLUM_DESKTOP names the desktop of the process. The default is the desktop of the session's user, in session 0 that
// of the services. VELLUM_JOB names the job of the process: "name", or "name breakaway" if its children may leave the
// job.
#pragma once

#include <windef.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace platform {

struct User {
    std::string name;
    std::string profile;  // Windows path of the profile folder
    std::string sid;      // S-1-...
    bool isAdministrator = false;
    std::uint32_t uid = 0;  // owner of the user's files on Linux
};

// A logon session, as LsaGetLogonSessionData describes it.
struct Logon {
    std::uint64_t id = 0;  // a LUID: high part and low part
    std::string user;      // empty: the data has no SID
    DWORD sessionId = 0;
    std::int64_t time = 0;
    DWORD type = 2;
    bool hasData = true;
};

struct Session {
    DWORD id = 0;
    std::string user;  // empty: nobody is logged on
    DWORD state = 0;   // WTS_CONNECTSTATE_CLASS
    std::uint64_t logonId = 0;
    bool hasShell = false;
    bool isElevated = false;  // the user has an administrator's full token and a limited one linked to it
    std::string shellToken;   // empty: the shell runs under the session's ordinary token
    std::string userToken;    // empty: WTSQueryUserToken gives the session's own token
};

enum class Administrators { Absent, DenyOnly, Enabled };  // how the token holds the group

// The identity of a process. Set when the process starts; it does not change when the user logs off.
struct Token {
    std::string user;
    DWORD sessionId = 0;
    std::uint64_t logonId = 0;
    DWORD integrity = 0;
    Administrators administrators = Administrators::Absent;
    DWORD elevationType = 1;       // TOKEN_ELEVATION_TYPE
    bool isImpersonating = false;  // the thread also has an impersonation token of this user
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
    std::vector<Logon> logons;      // includes those of the sessions
    std::vector<Monitor> monitors;  // the same for the desktop of every session
};

// The machine folder, created and filled when first needed. If it cannot be created or read, the process ends with a
// message.
const std::filesystem::path& machineFolder();
// The folder for a process with these variables. A variable that is not set is an empty text.
std::filesystem::path machineFolderIn(const std::function<std::string(const char* name)>& variable);
const MachineDescription& machine();  // as it was when the process started
const Token& processToken();
// Whether the Administrators group is enabled for this process.
bool isAdministrator();
// Null if machine.txt has no such user.
const User* findUser(std::string_view name);
// Reads machine.txt again: sessions and logons change while processes run.
MachineDescription machineNow();

// enterMachine moves this process to another machine, with the token that VELLUM_TOKEN or that machine gives it.
// takeToken gives it another token, described as in VELLUM_TOKEN. Tests use the calls in testing/Machine.h, which also
// reset the other layers.
void enterMachine(const std::filesystem::path& folder);
void takeToken(const std::string& description);

}  // namespace platform
