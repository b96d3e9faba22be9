// A fixture that gives each test its own machine.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "support/Eventually.h"
#include "support/Files.h"
#include "support/Text.h"
#include "testing/Faults.h"
#include "testing/Machine.h"

namespace fs = std::filesystem;

// Makes the n-th use of a call fail, counted from now; 0 means every use.
inline void failCall(const char* call, unsigned use, DWORD error) {
    platform::faults::arm({call, use, platform::faults::Action::Fail, error});
}
// Returns the operation's result while that use of the call fails. Then disarms all faults.
template <typename Operation>
auto whileFailing(const char* call, unsigned use, DWORD error, Operation operation) {
    failCall(call, use, error);
    auto result = operation();
    platform::faults::clear();
    return result;
}

class MachineTest : public testing::Test {
  protected:
    MachineTest() {
        std::string name = fs::temp_directory_path() / "vellum-machine-XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
        folder_ = name;
        platform::useMachine(folder_);
        platform::notices::silence(true);
    }
    ~MachineTest() override {
        platform::faults::clear();
        fs::remove_all(folder_);
    }

    // Replaces machine.txt and moves the process to the described machine.
    void describe(const std::string& text) {
        std::ofstream(folder_ / "machine.txt") << text;
        platform::useMachine(folder_);
    }
    const fs::path& folder() const { return folder_; }

    // The log lines since the last call, without timestamps.
    static std::string log() {
        std::string text;
        for (const std::u16string& line : platform::notices::takeDebugOutput()) {
            const std::string whole = utf8(line);
            const std::size_t level = whole.find('[');
            text += whole.substr(level == std::string::npos ? 0 : level);
        }
        return text;
    }

    // The initial environment of a process, one variable per line.
    static std::string environmentOf(pid_t id) {
        std::string text = contentOf("/proc/" + std::to_string(id) + "/environ");
        std::replace(text.begin(), text.end(), '\0', '\n');
        return text;
    }
    fs::path sockets(DWORD session) const { return folder_ / "desktops" / std::to_string(session); }
    // The processes with windows in the session.
    std::vector<pid_t> processesIn(DWORD session) const {
        std::vector<pid_t> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(sockets(session), error)) {
            const pid_t id = std::atoi(entry.path().filename().c_str());
            if (id > 0 && kill(id, 0) == 0) found.push_back(id);
        }
        return found;
    }
    // Kills a process and waits until its locks are released.
    static void end(pid_t id) {
        kill(id, SIGKILL);
        EXPECT_TRUE(eventually([id] {
            const std::string status = contentOf("/proc/" + std::to_string(id) + "/status");
            return status.empty() || (has(status, "State:\tZ") && has(status, "Threads:\t1\n"));
        })) << id;
    }
    // Ends the processes of this machine, including those that they are starting. With `token`, only those whose
    // VELLUM_TOKEN starts with it.
    void endProcesses(const std::string& token = "") const {
        // A process that is just starting has no environment for a moment.
        for (unsigned quiet = 0; quiet < 3; ++quiet) {
            if (killThoseOf("VELLUM_MACHINE=" + folder_.string() + "\n", "VELLUM_TOKEN=" + token)) quiet = 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

  private:
    static bool killThoseOf(const std::string& machine, const std::string& token) {
        bool found = false;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const pid_t id = std::atoi(entry.path().filename().c_str());
            if (id <= 0 || id == getpid()) continue;
            const std::string variables = environmentOf(id);
            if (variables.find(machine) == std::string::npos || variables.find(token) == std::string::npos) continue;
            end(id);
            found = true;
        }
        return found;
    }

    fs::path folder_;
};

// Runs `body` with its 1st, 2nd, 3rd ... call failing, until a run meets no fault. After each run, disarms the fault
// and calls `check`. No run may leave a handle or memory open. Returns the number of runs that met a fault.
template <typename Body, typename Check>
unsigned forEachFailingCall(Body body, Check check, DWORD error = 5) {
    for (unsigned use = 1; use < 10000; ++use) {
        const std::size_t handles = platform::faults::openHandles(), memory = platform::faults::openAllocations();
        platform::faults::clear();
        platform::faults::arm({"*", use, platform::faults::Action::Fail, error});
        body();
        const bool fired = platform::faults::fired();
        platform::faults::clear();
        SCOPED_TRACE("failing call " + std::to_string(use));
        check(fired);
        EXPECT_EQ(platform::faults::openHandles(), handles);
        EXPECT_EQ(platform::faults::openAllocations(), memory);
        if (fired) continue;
        EXPECT_GT(use, 1U) << "none of its calls can fail";
        return use - 1;
    }
    ADD_FAILURE() << "the loop of faults does not end";
    return 0;
}

// Runs `body` in a process that is killed at its 1st, 2nd, 3rd ... call, until a run ends without a kill. `prepare`
// runs before each process, `check` after it. `begin` runs first inside the process. Its calls do not count, and `body`
// gets its result.
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
