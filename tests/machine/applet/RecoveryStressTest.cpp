// Many processes on one store: recovery passes of two logons and their displays, killed at random times.
#include <map>
#include <set>

#include "machine/support/PassFixture.h"

using namespace AppletNotes;
using namespace platform;

class RecoveryStressMachine : public PassMachine {
  protected:
    RecoveryStressMachine() { makeStore(); }

    static Environment tokenOf(DWORD session) { return {{"VELLUM_TOKEN", "operator@" + std::to_string(session)}}; }
    // Creates a queue of a logon that has ended, with one note.
    void leaveNote(unsigned n) const {
        const std::string id = "note_" + std::to_string(n);
        putNote(makeQueue("applet-00000002-" + hex(0x900 + n, 16) + "-0000000000000001"), id + ".json",
                "{\"id\":\"" + id + "\",\"title\":\"" + id + "\",\"content\":\"whole.\"}");
    }
    int passIn(DWORD session) const {
        RoleProcess pass(recover(), tokenOf(session));
        return pass.exitCode();
    }
    // The files of each note in the store.
    std::map<std::string, std::vector<fs::path>> notesInTheStore() const {
        std::map<std::string, std::vector<fs::path>> found;
        for (const auto& entry : fs::recursive_directory_iterator(root()))
            if (entry.path().extension() == ".json") found[entry.path().stem()].push_back(entry.path());
        return found;
    }
    std::multiset<std::string> notesOnScreens() const {
        std::multiset<std::string> found;
        for (const DWORD session : {1U, 4U})
            for (const pid_t id : displays(session)) {
                const std::string list = ask(session, id, "list");
                for (std::size_t at = 0; (at = list.find("\"note_", at)) != std::string::npos; ++at)
                    found.insert(list.substr(at + 1, list.find('"', at + 1) - at - 1));
            }
        return found;
    }
    void killADisplay(std::mt19937& random) const {
        const auto shown = displays(random() % 2 == 0 ? 1 : 4);
        if (!shown.empty()) end(shown[random() % shown.size()]);
    }
};

TEST_F(RecoveryStressMachine, everyNoteIsShownOnceAfterRandomKills) {
    constexpr unsigned kNotes = 4, kRounds = 12;
    const unsigned seed = seedOfTest();
    SCOPED_TRACE("VELLUM_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    for (unsigned round = 0; round < kRounds; ++round) {
        if (round < kNotes) leaveNote(round);
        RoleProcess first(recover(), tokenOf(1)), second(recover(), tokenOf(4));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 80));  // varies the moment of the kill
        first.kill();
        killADisplay(random);
        const int code = second.exitCode();
        EXPECT_TRUE(code == 0 || code == 16 || code == 17) << code << second.said();
    }
    endProcesses();
    // A display that meets a lock ends, and a pass then defers the queue. The next pass shows its notes.
    std::multiset<std::string> shown;
    EXPECT_TRUE(eventually([&] {
        EXPECT_EQ((passIn(1) | passIn(4)) & ~17, 0);
        return eventually([&] { return (shown = notesOnScreens()).size() == kNotes; }, std::chrono::seconds(1));
    })) << shown.size();
    const auto stored = notesInTheStore();
    EXPECT_EQ(stored.size(), kNotes);
    for (const auto& [id, files] : stored) {
        EXPECT_EQ(files.size(), 1U) << id;
        EXPECT_EQ(shown.count(id), 1U) << id;
        EXPECT_TRUE(has(contentOf(files[0]), "whole.")) << id;
    }
}
