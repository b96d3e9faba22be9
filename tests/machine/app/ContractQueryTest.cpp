#include "app/ContractQuery.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <winerror.h>

#include "machine/support/MachineFixture.h"

using namespace platform;
using faults::Action;

// While a query runs, standard output of the test program is a pipe of the fixture.
class ContractQuery : public MachineTest {
  protected:
    DWORD ask(std::string& output) {
        setCommandLine({"Vellumd", "--applet-contract-version"});
        int ends[2];
        const int before = dup(STDOUT_FILENO);
        EXPECT_EQ(pipe(ends), 0);
        dup2(ends[1], STDOUT_FILENO);
        const std::optional<DWORD> answer = answerContractQuery();
        dup2(before, STDOUT_FILENO);
        close(before);
        close(ends[1]);
        char bytes[256];
        const ssize_t length = read(ends[0], bytes, sizeof bytes);
        output.assign(bytes, static_cast<std::size_t>(length));
        close(ends[0]);
        return answer.value_or(0xffffffff);
    }
};

TEST_F(ContractQuery, eachFailingCallHasItsExitCode) {
    const std::tuple<const char*, DWORD, DWORD> rows[] = {
        {"CommandLineToArgvW", ERROR_NOT_ENOUGH_MEMORY, ERROR_NOT_ENOUGH_MEMORY},
        {"FindResourceW", ERROR_RESOURCE_NAME_NOT_FOUND, ERROR_RESOURCE_NAME_NOT_FOUND},
        {"SizeofResource", ERROR_RESOURCE_NAME_NOT_FOUND, ERROR_INVALID_DATA},
        {"LoadResource", 14, 14},
        {"LockResource", 1, ERROR_RESOURCE_DATA_NOT_FOUND},
        {"WriteFile", ERROR_DISK_FULL, ERROR_DISK_FULL}};
    for (const auto& [call, error, exitCode] : rows) {
        std::string output;
        EXPECT_EQ(whileFailing(call, 1, error, [&] { return ask(output); }), exitCode) << call;
        EXPECT_EQ(output, "") << call;
    }
}

TEST_F(ContractQuery, writeOfZeroBytesIsAWriteFault) {
    std::string output;
    faults::arm({"WriteFile", 1, Action::Short, 0});
    EXPECT_EQ(ask(output), DWORD{ERROR_WRITE_FAULT});
    EXPECT_EQ(output, "");
}

TEST_F(ContractQuery, shortWritesDeliverTheWholeLine) {
    std::string output;
    faults::arm({"WriteFile", 0, Action::Short, 5});
    EXPECT_EQ(ask(output), 0U);
    EXPECT_EQ(output, "OMBREL_APPLET_NOTES_CONTRACT=2\r\n");
    EXPECT_EQ(faults::uses("AttachConsole"), 0U) << "there is a stream";
}

TEST_F(ContractQuery, attachesToTheParentConsoleIfThereIsNoOutput) {
    std::string output;
    failCall("GetStdHandle", 0, ERROR_INVALID_HANDLE);
    failCall("AttachConsole", 1, ERROR_ACCESS_DENIED);
    EXPECT_EQ(ask(output), DWORD{ERROR_ACCESS_DENIED}) << "there is none";
}

namespace {

// Runs the query as a process in its own session with this standard output and terminal. -1 or null means none. Returns
// the exit code.
int askAsProcess(int output, const char* terminal) {
    const std::string image = (fs::read_symlink("/proc/self/exe").parent_path() / "Vellumd").string();
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        if (terminal != nullptr) [[maybe_unused]]
            const int own = open(terminal, O_RDWR);  // becomes the controlling terminal of the session
        if (output < 0)
            close(STDOUT_FILENO);
        else
            dup2(output, STDOUT_FILENO);
        execl(image.c_str(), image.c_str(), "--applet-contract-version", static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(ContractProcess, answersOnTheParentsTerminalIfThereIsNoOutput) {
    EXPECT_EQ(askAsProcess(-1, nullptr), ERROR_INVALID_HANDLE) << "no stream, no terminal";

    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal) + unlockpt(terminal), 0);
    const std::string name = ptsname(terminal);
    const int keepOpen = open(name.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_EQ(askAsProcess(-1, name.c_str()), 0);
    char bytes[64] = {};
    ASSERT_GT(read(terminal, bytes, sizeof bytes - 1), 0);
    EXPECT_TRUE(std::string_view(bytes).starts_with("OMBREL_APPLET_NOTES_CONTRACT=2\r"));
    close(keepOpen);
    close(terminal);
}

TEST(ContractProcess, failedWriteIsTheExitCode) {
    const int full = open("/dev/full", O_WRONLY);
    EXPECT_EQ(askAsProcess(full, nullptr), ERROR_DISK_FULL);
    close(full);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(askAsProcess(ends[1], nullptr), ERROR_NO_DATA) << "a reader that has gone is no reason to die";
    close(ends[1]);
}
