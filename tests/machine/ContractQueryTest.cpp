#include "app/ContractQuery.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#include <winerror.h>

#include "machine/MachineFixture.h"

using namespace platform;
using faults::Action;

// Standard output of the test program is a pipe of the fixture while a query runs.
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
    const struct {
        const char* call;
        Action action;
        DWORD value;
        DWORD exitCode;
    } rows[] = {
        {"CommandLineToArgvW", Action::Fail, 8, 8}, {"FindResourceW", Action::Fail, 1814, 1814},
        {"SizeofResource", Action::Fail, 1814, 13}, {"LoadResource", Action::Fail, 14, 14},
        {"LockResource", Action::Fail, 1, 1812},    {"WriteFile", Action::Fail, 112, 112},
        {"WriteFile", Action::Short, 0, 29},
    };
    for (const auto& row : rows) {
        std::string output;
        faults::arm({row.call, 1, row.action, row.value});
        // A row may keep the query from reaching the stream: the next one opens it anew.
        EXPECT_EQ(ask(output), row.exitCode) << row.call;
        EXPECT_EQ(output, "") << row.call;
        faults::clear();
    }
}

TEST_F(ContractQuery, streamThatTakesAFewBytesAtATimeGetsTheWholeLine) {
    std::string output;
    faults::arm({"WriteFile", 0, Action::Short, 5});
    EXPECT_EQ(ask(output), 0U);
    EXPECT_EQ(output, "OMBREL_APPLET_NOTES_CONTRACT=2\r\n");
    EXPECT_EQ(faults::uses("AttachConsole"), 0U) << "there is a stream";
}

TEST_F(ContractQuery, noStandardOutputAsksForTheConsoleOfTheParent) {
    std::string output;
    faults::arm({"GetStdHandle", 0, Action::Fail, 6});
    faults::arm({"AttachConsole", 1, Action::Fail, 5});
    EXPECT_EQ(ask(output), 5U) << "there is none";
}

namespace {

// Runs the query as a process in a session of its own, with these as standard output and terminal (-1 for none).
// Gives the exit code.
int askAsProcess(int output, const char* terminal) {
    const std::string image = (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "Vellumd").string();
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        if (terminal != nullptr) [[maybe_unused]]
            const int own = open(terminal, O_RDWR);  // becomes the session's
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

TEST(ContractProcess, withoutAnOutputTheTerminalOfTheParentTakesTheLine) {
    EXPECT_EQ(askAsProcess(-1, nullptr), 6) << "no stream, no terminal";

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

TEST(ContractProcess, writeThatFailsIsTheExitCode) {
    const int full = open("/dev/full", O_WRONLY);
    EXPECT_EQ(askAsProcess(full, nullptr), ERROR_DISK_FULL);
    close(full);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    EXPECT_EQ(askAsProcess(ends[1], nullptr), ERROR_NO_DATA) << "a reader that has gone is no reason to die";
    close(ends[1]);
}
