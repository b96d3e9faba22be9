// A machine with a user's store on it, and the hand of the writer of queues, which is no part of the program. The
// writer does exactly what the program demands of it; what a bad one does, a test does to the files itself.
#pragma once

#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>

#include "MachineFixture.h"
#include "applet/AppletContext.h"
#include "applet/QueueLease.h"
#include "applet/QueueName.h"

namespace fs = std::filesystem;

constexpr std::size_t kMiB = 0x100000;
constexpr fs::perms kPrivateFile{01600}, kPrivateFolder{01700};  // the user's alone, with a protected list

inline std::string hex(unsigned value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

// Runs `body` in a process that is killed at its 1st, 2nd, 3rd ... use of any call, until one ends by itself: `prepare`
// before each, then in the process `begin`, whose calls do not count and whose result `body` gets, and `check` after
// it.
template <typename Prepare, typename Begin, typename Body, typename Check>
void forEachKilledCall(Prepare prepare, Begin begin, Body body, Check check) {
    for (unsigned use = 1; use < 500; ++use) {
        SCOPED_TRACE("killed at call " + std::to_string(use));
        prepare();
        const pid_t child = fork();
        if (child == 0) {
            const auto begun = begin();
            platform::faults::clear();
            platform::faults::arm({"*", use, platform::faults::Action::Kill, 0});
            body(begun);
            _exit(7);
        }
        int status = 0;
        waitpid(child, &status, 0);
        check();
        if (WIFEXITED(status) && WEXITSTATUS(status) == 7) return;
    }
    ADD_FAILURE() << "the process does not end by itself";
}

class StoreMachine : public MachineTest {
  protected:
    StoreMachine() {
        describe(kMachine);
        DWORD err = 0;
        EXPECT_TRUE(AppletNotes::readAppletContext(context_, err, false)) << err;
        root_ = hostPath(context_.storeRoot);
    }

    // Two users; the first is logged on in session 1, and was in sessions 2 and 3, which are over.
    static constexpr const char* kMachine = R"(
[user operator]
profile = C:\Users\operator
[user visitor]
profile = C:\Users\visitor
[session 1]
user = operator
logon = 0x3A1F7
logon time = 0x1DC2F6A5B3C4D10
[session 4]
user = operator
logon = 0x4B2E0
logon time = 0x1DC30127C5E6F20
[session 5]
user = visitor
logon = 0x5C3D1
logon time = 0x1DC30127C5E6F21
)";

    // The error of an operation, 0 for success: what it returns and what it tells agree.
    template <typename Operation>
    static DWORD errorOf(Operation operation) {
        DWORD err = 99;
        const bool done = operation(err);
        EXPECT_EQ(done, err == 0) << err;
        return err;
    }

    const AppletNotes::AppletContext& context() const { return context_; }
    PSID owner() const { return AppletNotes::sidOf(context_.userSid); }
    const fs::path& root() const { return root_; }  // of the store

    // The writer: everything private from the first moment.
    AppletNotes::QueueStore makeStore() const {
        fs::create_directories(root_.parent_path());
        AppletNotes::QueueStore store;
        DWORD err = 0;
        EXPECT_TRUE(store.open(context_.storeRoot, owner(), true, err)) << err;
        fs::create_directory(root_ / "runtime");
        chmod((root_ / "runtime").c_str(), 0700);
        return store;
    }
    fs::path makeQueue(const std::string& name) const {
        fs::create_directory(root_ / name);
        chmod((root_ / name).c_str(), 0700);
        return root_ / name;
    }
    static void putNote(const fs::path& queue, const std::string& file, const std::string& bytes) {
        putPrivateFile(queue / file, bytes);
    }
    static void putPrivateFile(const fs::path& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary) << bytes;
        chmod(file.c_str(), 0600);
    }
    // A file below the store root as one has it who lets nobody else in; made where it is not there.
    HANDLE hold(const std::string& name) const {
        const WideString path = context_.storeRoot + TEXT("\\") + wide(name);
        const HANDLE handle = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
        EXPECT_NE(handle, INVALID_HANDLE_VALUE) << GetLastError();
        return handle;
    }
    // Values of the machine's as the registry's files hold them.
    void setUac(const std::string& type, const std::string& value) const {
        setMachineValue("SOFTWARE/Microsoft/Windows/CurrentVersion/Policies/System", "EnableLUA." + type, value);
    }
    void allowLongPaths() const {
        setMachineValue("SYSTEM/CurrentControlSet/Control/FileSystem", "LongPathsEnabled.REG_DWORD", "01000000");
    }
    std::string ownQueue() const { return utf8(AppletNotes::formatQueueName(context_.identity)); }

    AppletNotes::QueueLease lease(const AppletNotes::QueueStore& store, const std::string& queue) const {
        AppletNotes::QueueLease lease;
        DWORD err = 0;
        EXPECT_TRUE(AppletNotes::QueueLease::open(store, wide(queue), context_.identity, lease, err)) << err;
        return lease;
    }

  private:
    void setMachineValue(const std::string& keyName, const std::string& valueName, const std::string& text) const {
        const fs::path key = folder() / "registry/HKEY_LOCAL_MACHINE" / keyName;
        fs::remove_all(key);
        fs::create_directories(key);
        std::ofstream(key / valueName) << text;
    }

    AppletNotes::AppletContext context_;
    fs::path root_;
};
