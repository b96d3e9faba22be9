// Measures Vellumd.exe from outside, compared with the "floor": a program that creates the same windows and does
// nothing else. Runs of the two alternate; a time is the median of its runs. The ratio is Vellumd's number divided by
// the floor's.
//
// usage: vellum-desktop-bench [TITLE]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Grid.h"
#include "HostProcess.h"
#include "Program.h"
#include "common/Folders.h"
#include "common/Paths.h"
#include "notes/FileIo.h"
#include "notes/NoteRecord.h"

namespace {

using ProgramPtr = std::unique_ptr<Program>;

constexpr double kKilobyte = 1024;
constexpr int kDrops = 21;  // the first one is not counted
constexpr int kKeys = 5;
constexpr double kPauseMs = 800;  // between the last key and the save
constexpr double kKeyWatchMs = 2500;
constexpr DWORD kIdleMs = 60000;
constexpr DWORD kSettleMs = 1500;

// The folder of the files that the runs read and write.
WideString workFolder() {
    return joinPath(parentPath(executablePath()), TEXT("desktop-bench"));
}

WideString folderOf(const char* name) {
    return joinPath(workFolder(), WideString(name, name + std::string_view(name).size()));
}

WideString fileOf(const WideString& folder, int number) {
    return joinPath(folder, formatWideString(TEXT("note-%lu.json"), static_cast<unsigned long>(number)));
}

NoteRecord noteAt(int number) {
    NoteRecord note;
    note.id = formatWideString(TEXT("note-%lu"), static_cast<unsigned long>(number));
    note.title = VELLUM_BENCH_TITLE;
    note.content = VELLUM_BENCH_BODY;
    note.author = TEXT("Ada");
    GetSystemTime(&note.created);
    note.modified = note.created;
    const POINT cell = gridCell(number);
    note.x = cell.x;
    note.y = cell.y;
    note.hasPosition = true;
    note.editable = true;
    return note;
}

void emptyFolder(const WideString& folder) {
    createDirectoryTree(folder);
    WIN32_FIND_DATAW entry = {};
    const FindHandle search(FindFirstFileW(joinPath(folder, TEXT("*.*")).c_str(), &entry));
    if (!search) return;
    do {
        DeleteFileW(joinPath(folder, entry.cFileName).c_str());
    } while (FindNextFileW(search.get(), &entry) != 0);
}

WideString folderWith(const char* name, int notes) {
    const WideString folder = folderOf(name);
    emptyFolder(folder);
    for (int i = 0; i < notes; ++i) {
        if (saveNoteFile(fileOf(folder, i), noteAt(i), nullptr)) continue;
        std::fprintf(stderr, "vellum-desktop-bench: cannot write notes\n");
        std::exit(1);
    }
    return folder;
}

ProgramPtr startVellumd(const WideString& folder) {
    return std::make_unique<Program>(TEXT("Vellumd.exe"), TEXT("--no-autostart --folder \"") + folder + TEXT("\""),
                                     TEXT("Vellumd.NoteWindow"));
}

ProgramPtr startFloor(const WideString& arguments) {
    return std::make_unique<Program>(TEXT("vellum-desktop-floor.exe"), arguments, VELLUM_FLOOR_CLASS);
}

ProgramPtr startFloorWith(int notes) {
    return startFloor(formatWideString(TEXT("show %lu"), static_cast<unsigned long>(notes)));
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void printRow(const char* work, const char* unit, double vellumd, double floor) {
    if (vellumd == 0 && floor == 0) {  // some systems do not report private bytes or the CPU time of an idle process
        std::printf("%-38s %10s %10s\n", work, "unknown", "unknown");
        return;
    }
    std::printf("%-38s %10.2f %10.2f %-3s", work, vellumd, floor, unit);
    if (floor > 0)
        std::printf(" %8.2fx\n", vellumd / floor);
    else
        std::printf(" %9s\n", "-");
    std::fflush(stdout);
}

void compareStart(int notes, int runs) {
    const WideString folder = folderWith("start", notes);
    const auto count = static_cast<std::size_t>(notes);
    std::vector<double> vellumd, floor;
    for (int run = 0; run <= runs; ++run) {
        const auto time = [&](const ProgramPtr& program) { return program->waitForNotes(count, program->startedAt()); };
        const double ours = time(startVellumd(folder)), bare = time(startFloorWith(notes));
        if (run == 0) continue;  // a warm-up: the files are not in the cache yet
        vellumd.push_back(ours);
        floor.push_back(bare);
    }
    const std::string work = "start to notes shown, " + std::to_string(notes);
    printRow(work.c_str(), "ms", median(vellumd), median(floor));
}

Memory memoryOf(const ProgramPtr& program, int notes) {
    program->waitForNotes(static_cast<std::size_t>(notes), program->startedAt());
    Sleep(kSettleMs);
    return program->memory();
}

void compareMemory() {
    const auto vellumd = [](int notes) { return memoryOf(startVellumd(folderWith("memory", notes)), notes); };
    const auto floor = [](int notes) { return memoryOf(startFloorWith(notes), notes); };
    const Memory ours20 = vellumd(20), bare20 = floor(20), ours100 = vellumd(100), bare100 = floor(100);
    const auto each = [](double few, double many) { return (many - few) / 80 / kKilobyte; };
    printRow("a further note, private bytes", "KiB", each(ours20.privateBytes, ours100.privateBytes),
             each(bare20.privateBytes, bare100.privateBytes));
    printRow("a further note, working set", "KiB", each(ours20.workingSet, ours100.workingSet),
             each(bare20.workingSet, bare100.workingSet));
    printRow("20 notes, private bytes", "KiB", ours20.privateBytes / kKilobyte, bare20.privateBytes / kKilobyte);
    printRow("20 notes, working set", "KiB", ours20.workingSet / kKilobyte, bare20.workingSet / kKilobyte);
}

// The file is written before the measurement, which starts with the rename.
double dropNote(Program& program, const WideString& folder, int number, std::size_t expected) {
    const WideString file = fileOf(folder, number), waiting = file + TEXT(".new");
    saveNoteFile(waiting, noteAt(number), nullptr);
    Sleep(100);
    const double since = nowInMilliseconds();
    MoveFileExW(waiting.c_str(), file.c_str(), 0);
    return program.waitForNotes(expected, since);
}

void compareDrops() {
    const WideString ours = folderWith("drops", 1), bare = folderWith("floor-drops", 0);
    const ProgramPtr vellumd = startVellumd(ours), floor = startFloor(TEXT("watch \"") + bare + TEXT("\""));
    vellumd->waitForNotes(1, vellumd->startedAt());
    Sleep(kSettleMs);
    std::vector<double> oursTook, bareTook;
    for (int drop = 1; drop <= kDrops; ++drop) {
        const double took = dropNote(*vellumd, ours, drop, static_cast<std::size_t>(drop) + 1);
        const double bareTime = dropNote(*floor, bare, drop, static_cast<std::size_t>(drop));
        if (drop == 1) continue;
        oursTook.push_back(took);
        bareTook.push_back(bareTime);
    }
    printRow("rename into place to painted", "ms", median(oursTook), median(bareTook));
}

struct Stamp {
    ULONGLONG written = 0;
    DWORD size = 0;
    bool operator!=(const Stamp& other) const { return written != other.written || size != other.size; }
};

// Does not open the file: an open file cannot be replaced.
Stamp stampOf(const WideString& file, const Stamp& before) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data))
        return before;  // it is being replaced right now
    const FILETIME& time = data.ftLastWriteTime;
    return {ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime, data.nFileSizeLow};
}

struct KeyResult {
    double took = 0;
    int changes = 0;
};

KeyResult pressKey(HWND body, const WideString& file) {
    KeyResult result;
    Stamp stamp = stampOf(file, {});
    const double since = nowInMilliseconds();
    PostMessageW(body, WM_CHAR, 'x', 1);
    while (nowInMilliseconds() - since < kKeyWatchMs) {
        const Stamp now = stampOf(file, stamp);
        if (now != stamp && result.changes++ == 0) result.took = nowInMilliseconds() - since;
        stamp = now;
        Sleep(1);
    }
    return result;
}

double timeOfSave(const WideString& like) {
    std::string bytes;
    readFileBytes(like, bytes);
    const WideString file = joinPath(workFolder(), TEXT("saved.json"));
    std::vector<double> took;
    for (int i = 0; i < 15; ++i) {
        const double since = nowInMilliseconds();
        writeFileAtomic(file, bytes);
        took.push_back(nowInMilliseconds() - since);
    }
    return median(took);
}

void compareKeys() {
    const WideString folder = folderWith("keys", 1), file = fileOf(folder, 0);
    const ProgramPtr vellumd = startVellumd(folder);
    vellumd->waitForNotes(1, vellumd->startedAt());
    Sleep(kSettleMs);
    const HWND body = FindWindowExW(vellumd->notes().at(0), nullptr, TEXT("RICHEDIT50W"), nullptr);
    std::vector<double> took;
    int changes = 0;
    for (int key = 0; key < kKeys; ++key) {
        const KeyResult result = pressKey(body, file);
        took.push_back(result.took);
        changes += result.changes;
    }
    printRow("key to file (floor: 800 ms and a save)", "ms", median(took), kPauseMs + timeOfSave(file));
    printRow("writes of the file for a key", "", static_cast<double>(changes) / kKeys, 1);
}

void compareIdle() {
    const ProgramPtr vellumd = startVellumd(folderWith("idle", 20)), floor = startFloorWith(20);
    vellumd->waitForNotes(20, vellumd->startedAt());
    floor->waitForNotes(20, floor->startedAt());
    Sleep(kSettleMs);
    const Activity ours = hostActivity("Vellumd.exe"), bare = hostActivity("vellum-desktop-floor.exe");
    Sleep(kIdleMs);
    const Activity oursThen = hostActivity("Vellumd.exe"), bareThen = hostActivity("vellum-desktop-floor.exe");
    printRow("CPU time of an idle minute, 20 notes", "ms", oursThen.cpuMilliseconds - ours.cpuMilliseconds,
             bareThen.cpuMilliseconds - bare.cpuMilliseconds);
    printRow("wake-ups in an idle minute, 20 notes", "", oursThen.wakeUps - ours.wakeUps,
             bareThen.wakeUps - bare.wakeUps);
}

double sizeOfExecutable(const WideString& name) {
    std::string bytes;
    readFileBytes(joinPath(parentPath(executablePath()), name), bytes);
    return static_cast<double>(bytes.size()) / kKilobyte;
}

}  // namespace

int main(int count, char** arguments) {
    std::printf("%s\n%-38s %10s %10s %-3s %9s\n", count > 1 ? arguments[1] : "", "work", "vellumd", "floor", "",
                "ratio");
    compareStart(1, 11);
    compareStart(20, 5);
    compareStart(100, 3);
    compareDrops();
    compareMemory();
    compareKeys();
    compareIdle();
    printRow("size of the executable", "KiB", sizeOfExecutable(TEXT("Vellumd.exe")),
             sizeOfExecutable(TEXT("vellum-desktop-floor.exe")));
    std::printf("screen %d x %d\n", GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN));
    return 0;
}
