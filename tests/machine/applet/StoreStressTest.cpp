// A display process uses its queue while another process damages the queue.

#include <sys/prctl.h>
#include <sys/wait.h>

#include <map>
#include <random>

#include "machine/support/StoreFixture.h"

using namespace AppletNotes;

namespace {

constexpr auto kDuration = std::chrono::seconds(4), kMostDuration = std::chrono::seconds(60);

// Content that can be checked for completeness: its length, that many letters, and an end mark.
std::string wholeNote(std::mt19937& random) {
    const std::size_t size = 1 + random() % 30000;
    return std::to_string(size) + ":" + std::string(size, static_cast<char>('a' + random() % 26)) + ":end";
}

bool isWhole(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || !text.ends_with(":end")) return false;
    const std::size_t size = std::strtoul(text.c_str(), nullptr, 10);
    return text.size() == colon + 1 + size + 4 && text.find_first_not_of(text[colon + 1], colon + 1) == text.size() - 4;
}

std::string nameOf(std::mt19937& random) {
    return "note_" + std::to_string(random() % 4) + ".json";
}

}  // namespace

class StoreStressMachine : public StoreMachine {
  protected:
    // Everything outside the queue, by name, content and mode. Link counts are left out since links come and go.
    std::map<std::string, std::string> outside() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder() / "outside")) {
            struct stat state = {};
            lstat(entry.path().c_str(), &state);
            found[entry.path()] =
                std::to_string(state.st_mode) + (entry.is_regular_file() ? contentOf(entry.path()) : "");
        }
        return found;
    }

    static void expectWholeNotes(const fs::path& queue) {
        for (const auto& entry : fs::directory_iterator(queue)) {
            EXPECT_NE(entry.path().extension(), ".tmp");
            const bool isNote = fs::is_regular_file(fs::symlink_status(entry)) && entry.hard_link_count() == 1 &&
                                entry.path().extension() == ".json";
            EXPECT_TRUE(!isNote || isWhole(contentOf(entry))) << entry.path();
        }
    }

    // One random operation of the display process.
    void useQueue(const QueueLease& held, std::mt19937& random) {
        const WideString name = wide(nameOf(random));
        const std::size_t dice = random() % 8;
        std::string bytes;
        DWORD err = 0;
        if (dice == 0) {
            removals_ += held.removeNote(name, err);
        } else if (dice < 4) {
            updates_ += held.updateNote(name, wholeNote(random), err);
        } else if (held.readNote(name, bytes, err)) {
            ++reads_;
            EXPECT_TRUE(isWhole(bytes)) << bytes.substr(0, 40);
        }
        busy_ += err == ERROR_SHARING_VIOLATION;
        refused_ += err == ERROR_ACCESS_DENIED;
    }

    void disturb(const fs::path& queue, std::mt19937& random) const {
        const fs::path note = queue / nameOf(random), other = queue / nameOf(random),
                       fresh = folder() / "drive_c/fresh";
        std::error_code error;
        const std::size_t dice = random() % 10;
        if (dice == 0) {
            fs::rename(note, other, error);
        } else if (dice == 1) {
            const WideString lock = pathOf(random() % 2 == 0 ? ".lifecycle.lock" : ownQueue() + "\\.writer.lock");
            const FileHandle held(CreateFileW(lock.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            Sleep(static_cast<DWORD>(random() % 3));
        } else {
            fs::remove_all(note, error);
            if (dice == 2) fs::create_symlink(folder() / "outside/victim.json", note, error);
            if (dice == 3) fs::create_hard_link(folder() / "outside/victim.json", note, error);
            if (dice == 4) fs::create_directory_symlink(folder() / "outside", note, error);
            if (dice == 5) fs::create_directory(note, error);
            if (dice < 7) return;
            putPrivateFile(fresh, wholeNote(random));
            fs::rename(fresh, note, error);
        }
    }

    unsigned reads_ = 0, updates_ = 0, removals_ = 0, refused_ = 0, busy_ = 0;
};

TEST_F(StoreStressMachine, keepsFilesOutsideTheQueueAndEveryNoteIntact) {
    const unsigned seed = seedOfTest();
    SCOPED_TRACE("VELLUM_SEED=" + std::to_string(seed));
    fs::create_directories(folder() / "outside/folder");
    for (const char* file : {"outside/victim.json", "outside/note_1.json", "outside/folder/note_2.json"})
        putPrivateFile(folder() / file, "no note");
    // If a planted link vanishes before the display counts the links, the display may use the file. A second permanent
    // link keeps the victim's link count above 1.
    fs::create_hard_link(folder() / "outside/victim.json", folder() / "outside/second.json");
    const auto before = outside();
    const QueueStore store = makeStore();
    const fs::path queue = makeQueue(ownQueue());
    const pid_t other = fork();
    if (other == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (std::mt19937 random(seed);;)
            disturb(queue, random);
    }
    std::mt19937 random(seed + 1);
    const QueueLease held = lease(store, ownQueue());
    const auto isEnough = [&] { return reads_ > 20 && updates_ > 5 && removals_ > 5 && refused_ > 20 && busy_ > 5; };
    for (const auto begin = std::chrono::steady_clock::now();
         std::chrono::steady_clock::now() - begin < (isEnough() ? kDuration : kMostDuration);)
        useQueue(held, random);
    end(other);
    waitpid(other, nullptr, 0);
    EXPECT_TRUE(isEnough()) << reads_ << " reads, " << updates_ << " updates, " << removals_ << " removals, "
                            << refused_ << " refused, " << busy_ << " busy";
    EXPECT_EQ(outside(), before);
    expectWholeNotes(queue);
    DWORD err = 0;
    EXPECT_TRUE(held.removeNote(TEXT("note_none.json"), err)) << "a lock stays held: " << err;
    EXPECT_EQ(platform::faults::openAllocations(), 1U) << "that of the store alone";
}
