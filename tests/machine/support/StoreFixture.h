// A machine with the store of a user, and a correct writer of queues. The writer is not part of the program. Tests
// simulate a faulty writer by changing the files.
#pragma once

#include <sys/stat.h>

#include <random>

#include "applet/AppletContext.h"
#include "applet/QueueLease.h"
#include "applet/QueueName.h"
#include "common/Handles.h"
#include "machine/support/MachineFixture.h"

constexpr std::size_t kMiB = 0x100000;
constexpr fs::perms kPrivateFile{01600}, kPrivateFolder{01700};  // for the user only, with a protected list

inline std::string hex(unsigned value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

// VELLUM_SEED if it is set, so that a run can be repeated; otherwise a random seed.
inline unsigned seedOfTest() {
    const char* const given = std::getenv("VELLUM_SEED");
    return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
}

class StoreMachine : public MachineTest {
  protected:
    StoreMachine() {
        describe(kMachine);
        DWORD err = 0;
        EXPECT_TRUE(AppletNotes::readAppletContext(context_, err, false)) << err;
        root_ = hostPath(context_.storeRoot);
    }

    // Two users. The first is logged on in sessions 1 and 4, and was logged on in sessions 2 and 3 before.
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

    // The error of an operation, 0 for success. Checks that its return value matches.
    template <typename Operation>
    static long errorOf(Operation operation) {
        DWORD err = 99;
        const bool done = operation(err);
        EXPECT_EQ(done, err == 0) << err;
        return static_cast<long>(err);
    }

    const AppletNotes::AppletContext& context() const { return context_; }
    PSID owner() const { return AppletNotes::sidOf(context_.userSid); }
    const fs::path& root() const { return root_; }  // root of the store

    // Creates the store like a writer: everything is private from the start.
    AppletNotes::QueueStore makeStore() const {
        fs::create_directories(root_.parent_path());
        AppletNotes::QueueStore store;
        DWORD err = 0;
        EXPECT_TRUE(store.open(context_.storeRoot, owner(), true, err)) << err;
        makePrivateFolder(root_ / "runtime");
        return store;
    }
    static fs::path makePrivateFolder(const fs::path& folder) {
        fs::create_directory(folder);
        chmod(folder.c_str(), 0700);
        return folder;
    }
    fs::path makeQueue(const std::string& name) const { return makePrivateFolder(root_ / name); }
    // Opens another store whose root path has `length` characters, and creates a queue in it.
    fs::path openStoreOfLength(std::size_t length, const std::string& queue, AppletNotes::QueueStore& store) const {
        const WideString path = TEXT("C:\\") + WideString(length - 3, TEXT('x'));
        EXPECT_EQ(errorOf([&](DWORD& err) { return store.open(path, owner(), true, err); }), 0);
        return makePrivateFolder(hostPath(path) / queue);
    }
    static void putNote(const fs::path& queue, const std::string& file, const std::string& bytes) {
        putPrivateFile(queue / file, bytes);
    }
    static void putPrivateFile(const fs::path& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary) << bytes;
        chmod(file.c_str(), 0600);
    }
    // The result of an operation while this file of the store is open elsewhere with share mode 0.
    template <typename Operation>
    auto whileHeld(const std::string& name, Operation operation) const {
        const FileHandle held = hold(name);
        return operation();
    }
    FileHandle hold(const std::string& name) const {
        FileHandle held(CreateFileW(pathOf(name).c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
        EXPECT_TRUE(held) << GetLastError();
        return held;
    }
    WideString pathOf(const std::string& name) const { return context_.storeRoot + TEXT("\\") + wide(name); }
    // Writes a machine value in the format of the registry's files.
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
