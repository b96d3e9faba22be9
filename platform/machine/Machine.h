// The machine that this process runs on.
//
// A machine is a folder, named by the environment variable VELLUM_MACHINE (default: "vellum-machine" under the
// user's data folder). All processes that name the same folder run on the same machine. It holds
//
//     machine.txt    users, sessions, monitors and the system's environment variables; meant to be edited
//     drive_c/       drive C:
//     registry/      one folder a key, one file a value
//
// A process runs under the ordinary token of the first session that has a user. The environment variable VELLUM_TOKEN
// describes another: "user@session", such as "operator@2" or "SYSTEM@0", and behind that, in any order,
//
//     untrusted, low, medium, high, system, 0x2100    its integrity level
//     logon=0x3A001                                   its logon session, else that of the session
//     impersonating                                   the thread impersonates this very user
//
// VELLUM_CHILD_TOKEN, in the same form, is what the children of the process run under instead of the token that they
// are given, as if somebody had exchanged it.
//
// VELLUM_DESKTOP is the desktop that the process stands on; without it the one of its session's user, or in session 0
// that of the services. VELLUM_JOB is the job that it is in, "name", or "name breakaway" where its children may leave
// the job.
//
// Of an administrator, "high" is the token with all rights, and any lower level the one without them.
#pragma once

#include <windef.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace platform {

struct User {
    std::string name;
    std::string profile;  // Windows path of the profile folder
    std::string sid;      // S-1-...
    bool isAdministrator = false;
    std::uint32_t uid = 0;  // who owns the user's files on Linux
};

// A logon session, as the LSA knows it.
struct Logon {
    std::uint64_t id = 0;  // a LUID: its high part, its low part
    std::string user;      // empty: the data holds no SID
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
    bool isElevated = false;  // its token is an administrator's full one, with a limited one beside it
    std::string shellToken;   // empty: the shell runs under the session's ordinary token
    std::string userToken;    // empty: the system has the session's own token for it
};

enum class Administrators { Absent, DenyOnly, Enabled };  // the group in a token

// Who a process is. Decided when the process starts: it stays as it is when the logon ends.
struct Token {
    std::string user;
    DWORD sessionId = 0;
    std::uint64_t logonId = 0;
    DWORD integrity = 0;
    Administrators administrators = Administrators::Absent;
    DWORD elevationType = 1;       // TOKEN_ELEVATION_TYPE
    bool isImpersonating = false;  // the thread has a token like this one, too
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
    std::vector<Logon> logons;      // those of the sessions as well
    std::vector<Monitor> monitors;  // of every session's desktop
};

// The folder, made and filled on first need. A machine that cannot be made or read ends the process with a
// message, since nothing can run without one.
const std::filesystem::path& machineFolder();
const MachineDescription& machine();  // as it was when the process started
const Token& processToken();
// Whether the Administrators group is enabled for this process.
bool isAdministrator();
// Null when machine.txt names no such user.
const User* findUser(std::string_view name);
// What machine.txt says at this moment: sessions and logons come and go while processes run.
MachineDescription machineNow();

// Moves this process to another machine, with the token that VELLUM_TOKEN or that machine gives it; or gives it the
// token of a description in the form of VELLUM_TOKEN. testing/Machine.h has the calls for tests, which tell the other
// floors as well.
void enterMachine(const std::filesystem::path& folder);
void takeToken(const std::string& description);

}  // namespace platform
