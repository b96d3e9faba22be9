// A display process at work while somebody else turns its queue upside down.
#include <windows.h>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <random>

#include "StoreFixture.h"

using namespace AppletNotes;

namespace {

constexpr auto kDuration = std::chrono::seconds(4), kMostDuration = std::chrono::seconds(60);

// Content that shows whether it is whole: its length, as many letters, and an end.
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
    // What is not the display process's to touch: by name, content and mode. Links to it come and go.
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

    // One act of mischief.
    void disturb(const fs::path& queue, std::mt19937& random) const {
        const fs::path note = queue / nameOf(random), other = queue / nameOf(random);
        const fs::path fresh = folder() / "drive_c/fresh";
        std::error_code error;
        switch (random() % 10) {
            case 0:
            case 1:
            case 2:
                fs::remove(fresh, error);
                putPrivateFile(fresh, wholeNote(random));
                fs::remove_all(note, error);
                fs::rename(fresh, note, error);
                break;
            case 3:
                fs::remove_all(note, error);
                fs::create_symlink(folder() / "outside/victim.json", note, error);
                break;
            case 4:
                fs::remove_all(note, error);
                fs::create_hard_link(folder() / "outside/victim.json", note, error);
                break;
            case 5:
                fs::remove_all(note, error);
                fs::create_directory_symlink(folder() / "outside", note, error);
                break;
            case 6:
                fs::rename(note, other, error);
                break;
            case 7:
                fs::remove_all(note, error);
                break;
            case 8: {
                const WideString lock = random() % 2 == 0 ? context().storeRoot + TEXT("\\.lifecycle.lock")
                                                          : productPath(queue) + TEXT("\\.writer.lock");
                const HANDLE held = CreateFileW(lock.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
                Sleep(static_cast<DWORD>(random() % 3));
                if (held != INVALID_HANDLE_VALUE) CloseHandle(held);
                break;
            }
            case 9:
                fs::remove_all(note, error);
                fs::create_directory(note, error);
                break;
        }
    }
};

TEST_F(StoreStressMachine, nothingOutsideTheQueueIsTouchedAndNoNoteIsHalf) {
    const char* const given = std::getenv("VELLUM_SEED");
    const unsigned seed =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    SCOPED_TRACE("VELLUM_SEED=" + std::to_string(seed));
    fs::create_directories(folder() / "outside/folder");
    for (const char* file : {"outside/victim.json", "outside/note_1.json", "outside/folder/note_2.json"})
        putPrivateFile(folder() / file, "no note");
    // The display may open a planted link that goes before it is counted: the victim has a second name of its own.
    fs::create_hard_link(folder() / "outside/victim.json", folder() / "outside/second.json");
    const auto before = outside();
    const QueueStore store = makeStore();
    const fs::path queue = makeQueue(ownQueue());

    const pid_t other = fork();
    if (other == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::mt19937 random(seed);
        for (;;)
            disturb(queue, random);
    }
    unsigned reads = 0, updates = 0, removals = 0, refused = 0, busy = 0;
    const auto isEnough = [&] { return reads > 20 && updates > 5 && removals > 5 && refused > 20 && busy > 5; };
    {
        const QueueLease held = lease(store, ownQueue());
        std::mt19937 random(seed + 1);
        for (const auto begin = std::chrono::steady_clock::now();
             std::chrono::steady_clock::now() - begin < (isEnough() ? kDuration : kMostDuration);) {
            const WideString name = wide(nameOf(random));
            std::string bytes;
            DWORD err = 0;
            bool done = false;
            switch (random() % 8) {
                case 0:
                    removals += done = held.removeNote(name, err);
                    break;
                case 1:
                case 2:
                case 3:
                    updates += done = held.updateNote(name, wholeNote(random), err);
                    break;
                default:
                    reads += done = held.readNote(name, bytes, err);
                    EXPECT_TRUE(!done || isWhole(bytes)) << bytes.substr(0, 40);
            }
            busy += err == 32;
            refused += err == 5;
        }
    }
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
    std::printf("%u reads, %u updates, %u removals, %u refused, %u busy\n", reads, updates, removals, refused, busy);
    EXPECT_TRUE(isEnough());

    EXPECT_EQ(outside(), before);
    const QueueLease next = lease(store, ownQueue());
    for (const auto& entry : fs::directory_iterator(queue)) {
        EXPECT_NE(entry.path().extension(), ".tmp");
        const bool isNote = fs::is_regular_file(fs::symlink_status(entry)) && entry.hard_link_count() == 1 &&
                            entry.path().extension() == ".json";
        EXPECT_TRUE(!isNote || isWhole(contentOf(entry))) << entry.path();
    }
    DWORD err = 0;
    EXPECT_TRUE(next.removeNote(TEXT("note_none.json"), err)) << "a lock stays held: " << err;
    EXPECT_EQ(platform::faults::openAllocations(), 1U) << "that of the store alone";
}
