// Everybody at one store at once: two recovery passes, the displays they start, a writer, a user; logons end, and
// processes are killed at any moment.
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <set>

#include "PassFixture.h"
#include "notes/NoteRecord.h"

using namespace AppletNotes;
using namespace platform;

namespace {

constexpr auto kDuration = std::chrono::seconds(12), kMostDuration = std::chrono::seconds(40);
constexpr unsigned kMostNotes = 100;  // what a pass takes to the screen

}  // namespace

class RecoveryStressMachine : public PassMachine {
  protected:
    RecoveryStressMachine() : writer_(RoleProcess::builtProgram().parent_path() / "vellum-applet-writer") {
        describeLogons();
        makeStore();
    }

    struct Pass {
        DWORD session;
        std::unique_ptr<RoleProcess> process;
    };
    struct Writing {
        std::string id;
        std::unique_ptr<RoleProcess> process;
    };

    std::size_t pick(std::size_t count) { return random_() % count; }
    template <typename List>
    auto any(List& list) {
        return std::next(list.begin(), static_cast<long>(pick(list.size())));
    }
    // One event.
    void act() {
        const DWORD session = pick(2) == 0 ? 1 : 4;
        const std::size_t dice = pick(100);
        if (dice < 25) {
            if (passes_.size() < 2)
                passes_.push_back({session, std::make_unique<RoleProcess>(recover(), tokenOf(session))});
        } else if (dice < 50) {
            write();
        } else if (dice < 58) {
            if (!passes_.empty() && pick(2) == 0) passes_.erase(any(passes_));
        } else if (dice < 66) {
            const auto shown = displays(session);
            if (!shown.empty()) kill(shown[pick(shown.size())], SIGKILL);
        } else if (dice < 72) {
            endLogon(session);
        } else if (dice < 76) {
            if (!writings_.empty()) forget(any(writings_));
        } else {
            use(session, dice < 82);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(pick(40)));
        look();
    }

    // Takes note of what has ended.
    void look() {
        for (auto pass = passes_.begin(); pass != passes_.end();) {
            const auto here = pass++;
            if (here->process->isRunning()) continue;
            const int code = here->process->exitCode();
            EXPECT_TRUE(code == 0 || code == 16 || code == 17) << code << here->process->said();
            ++ended_[code];
            passes_.erase(here);
        }
        for (auto writing = writings_.begin(); writing != writings_.end();) {
            const auto here = writing++;
            if (here->process->isRunning()) continue;
            if (here->process->exitCode() == 0) written_.insert(here->id);
            writings_.erase(here);
        }
    }

    // Of every note that was written: in which queues it is.
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
    int passIn(DWORD session) const {
        RoleProcess pass(recover(), tokenOf(session));
        return pass.exitCode();
    }

    std::mt19937 random_;
    std::list<Pass> passes_;
    std::list<Writing> writings_;
    std::set<std::string> written_, dismissed_;
    std::map<int, unsigned> ended_;
    unsigned edits_ = 0, logons_ = 2;

  private:
    static Environment tokenOf(DWORD session) { return {{"VELLUM_TOKEN", "operator@" + std::to_string(session)}}; }

    void describeLogons() const {
        std::string text = "[user operator]\nprofile = C:\\Users\\operator\n";
        for (const auto& [session, logon] : logon_)
            text += "[session " + std::to_string(session) + "]\nuser = operator\nlogon = 0x" + hex(logon, 1) +
                    "\nlogon time = 0x" + hex(0x1DC2F6A + logon, 1) + "\n";
        rewriteMachine(text);
    }
    // The logon ends, and with it all its processes. Another begins in its place.
    void endLogon(DWORD session) {
        for (auto pass = passes_.begin(); pass != passes_.end();)
            pass = pass->session == session ? passes_.erase(pass) : std::next(pass);
        while (!writings_.empty())
            forget(writings_.begin());
        endProcesses("operator@" + std::to_string(session));
        logon_[session] = 0x3A000 + logons_++;
        describeLogons();
    }
    void forget(std::list<Writing>::iterator writing) {
        dismissed_.insert(writing->id);  // it may be there or not
        writings_.erase(writing);
    }
    void write() {
        const DWORD session = pick(2) == 0 ? 1 : 4;
        std::vector<std::string> queues;
        for (const auto& entry : fs::directory_iterator(root()))
            if (entry.path().filename().string().starts_with("applet-")) queues.push_back(entry.path().filename());
        if (queues.empty() || pick(4) == 0) {
            RoleProcess making({"queue"}, tokenOf(session), writer_);
            EXPECT_EQ(making.exitCode(), 0) << making.said();
        } else if (writings_.size() < 2 && notes_ < kMostNotes) {
            const std::string id = "note_" + std::to_string(notes_++);
            const RoleArguments arguments = {"note", queues[pick(queues.size())], id,
                                             std::string(pick(5000), 'x') + "."};
            writings_.push_back({id, std::make_unique<RoleProcess>(arguments, tokenOf(session), writer_)});
        }
    }
    // What a user does: writes into a note, or closes it.
    void use(DWORD session, bool close) {
        const auto shown = displays(session);
        if (shown.empty()) return;
        const pid_t id = shown[pick(shown.size())];
        const std::string list = ask(session, id, "list");
        const auto notes = RoleProcess::notesIn(list);
        if (notes.empty()) return;
        if (close) {
            const std::size_t title = list.find("\"note_", list.find(notes[0]));
            dismissed_.insert(list.substr(title + 1, list.find('"', title + 1) - title - 1));
            ask(session, id, RoleProcess::clickOn(notes[0], 245, 13));
        } else {
            ask(session, id, RoleProcess::clickOn(notes[0], 130, 130));
            ask(session, id, "type edited");
            ++edits_;
        }
    }

    fs::path writer_;
    std::map<DWORD, unsigned> logon_ = {{1, 0x3A000}, {4, 0x3A001}};
    unsigned notes_ = 0;
};

TEST_F(RecoveryStressMachine, everyNoteIsThereOnce) {
    const char* const given = std::getenv("VELLUM_SEED");
    const unsigned seed =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    SCOPED_TRACE("VELLUM_SEED=" + std::to_string(seed));
    random_.seed(seed);
    const auto isEnough = [&] { return written_.size() > 5 && logons_ > 2 && ended_[0] > 2; };
    for (const auto begin = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - begin < (isEnough() ? kDuration : kMostDuration);)
        act();
    EXPECT_TRUE(eventually([&] {
        look();
        return passes_.empty() && writings_.empty();
    })) << "a pass or a writer is blocked";

    // A writer that was killed may leave a file without a byte, with which no pass takes the queue.
    for (const auto& [id, files] : notesInTheStore())
        for (const fs::path& file : files)
            if (dismissed_.contains(id) && fs::file_size(file) == 0) fs::remove(file);

    // Now that nobody writes, passes bring everything to the screen. A display does not see what came just before its
    // watcher, and ends when it meets another's lock: the next one shows those notes.
    endProcesses();
    const std::size_t left = notesInTheStore().size();
    std::multiset<std::string> shown;
    EXPECT_TRUE(eventually([&] {
        return passIn(1) == 0 && passIn(4) == 0 &&
               eventually([&] { return (shown = notesOnScreens()).size() == left; }, std::chrono::seconds(1));
    })) << shown.size()
        << " of " << left;
    const auto stored = notesInTheStore();
    EXPECT_EQ(stored.size(), left);
    for (const std::string& id : written_) {
        const auto found = stored.find(id);
        EXPECT_TRUE(found != stored.end() || dismissed_.contains(id)) << id << " is lost";
    }
    for (const auto& [id, files] : stored) {
        EXPECT_EQ(files.size(), 1U) << id;
        EXPECT_EQ(shown.count(id), 1U) << id;
        NoteRecord note;
        EXPECT_TRUE(loadNoteFile(productPath(files[0]), note, nullptr) && note.content.find(u'.') != WideString::npos)
            << files[0] << " is not whole: " << contentOf(files[0]);
    }
    std::printf("%zu notes written, %zu left, %u edits, %u logons; passes that ended with 0, 16, 17: %u, %u, %u\n",
                written_.size(), stored.size(), edits_, logons_, ended_[0], ended_[16], ended_[17]);
    EXPECT_TRUE(isEnough());
}
