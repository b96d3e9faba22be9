// The start of the display role, from the options to "Started", compared with a program that reads the same files and
// creates bare windows. The cost of one note must not grow with the number of notes.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>

#include "app/App.h"
#include "app/ExitCode.h"
#include "bench/Documents.h"
#include "common/Folders.h"
#include "notes/FileIo.h"
#include "testing/Machine.h"

namespace {

constexpr const WCHAR* kBareClass = TEXT("bare");

WideString folderOf(int notes) {
    return formatWideString(TEXT("C:\\vellum-bench-%lu"), static_cast<unsigned>(notes));
}

void makeNotes(int notes) {
    createDirectoryTree(folderOf(notes));
    for (int i = 0; i < notes; ++i) {
        NoteRecord record = documents()[0].record;
        record.id = formatWideString(TEXT("note-%lu"), static_cast<unsigned>(i));
        record.hasPosition = false;
        if (!saveNoteFile(folderOf(notes) + TEXT("\\") + record.id + TEXT(".json"), record, nullptr)) std::abort();
    }
}

void destroyAll(const WCHAR* kind) {
    while (HWND window = FindWindowExW(nullptr, nullptr, kind, nullptr))
        DestroyWindow(window);
}

template <typename Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double startDisplay(int notes) {
    const std::u16string folder = folderOf(notes);
    platform::setCommandLine({"Vellumd", "--folder", std::string(folder.begin(), folder.end()), "--no-autostart"});
    App app;
    const double taken = seconds([&] {
        if (app.initialize(nullptr, WideString()) != kEnterMessageLoop) std::abort();
    });
    app.shutdown();
    destroyAll(TEXT("Vellumd.NoteWindow"));
    platform::notices::takeDebugOutput();
    return taken;
}

double startBare(int notes) {
    WNDCLASSEXW description = {};
    description.cbSize = sizeof description;
    description.lpfnWndProc = DefWindowProcW;
    description.lpszClassName = kBareClass;
    RegisterClassExW(&description);
    const double taken = seconds([&] {
        WIN32_FIND_DATAW entry = {};
        const FindHandle search(FindFirstFileW((folderOf(notes) + TEXT("\\*.json")).c_str(), &entry));
        do {
            std::string bytes;
            if (!readFileBytes(folderOf(notes) + TEXT("\\") + entry.cFileName, bytes)) std::abort();
            const HWND window = CreateWindowExW(WS_EX_TOOLWINDOW | WS_EX_TOPMOST, kBareClass, TEXT(""), WS_POPUP, 0, 0,
                                                260, 260, nullptr, nullptr, nullptr, nullptr);
            ShowWindow(window, SW_SHOWNOACTIVATE);
            UpdateWindow(window);
        } while (FindNextFileW(search.get(), &entry) != 0);
    });
    destroyAll(kBareClass);
    return taken;
}

// Reports the time of one note.
void measureStart(benchmark::State& state, double (*start)(int), int notes) {
    for (auto _ : state)
        state.SetIterationTime(start(notes) / notes);
}

}  // namespace

void registerStartBenchmarks() {
    platform::notices::silence(true);
    // Windows gives a process 10,000 windows and other user objects; a note has three or more.
    for (const int notes : {10, 100, 1000, 3000}) {
        makeNotes(notes);
        char name[64];
        std::snprintf(name, sizeof name, "note of %4d", notes);
        const auto measure = [&](const char* who, double (*start)(int)) {
            benchmark::RegisterBenchmark((std::string(name) + who).c_str(), measureStart, start, notes)
                ->UseManualTime()
                ->Iterations(notes < 1000 ? 20 : 1);
        };
        measure("/vellumd", startDisplay);
        measure("/bare", startBare);
    }
}
