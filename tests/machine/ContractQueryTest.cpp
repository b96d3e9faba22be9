#include "app/ContractQuery.h"

#include <unistd.h>

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
}

TEST_F(ContractQuery, noStandardOutputAsksForTheConsoleOfTheParent) {
    std::string output;
    faults::arm({"GetStdHandle", 0, Action::Fail, 6});
    faults::arm({"AttachConsole", 1, Action::Fail, 5});
    EXPECT_EQ(ask(output), 5U) << "there is none";
    EXPECT_EQ(faults::uses("AttachConsole"), 1U);
}

TEST_F(ContractQuery, consoleIsNotAskedForWhenThereIsAStream) {
    std::string output;
    EXPECT_EQ(ask(output), 0U);
    EXPECT_EQ(faults::uses("AttachConsole"), 0U);
}
