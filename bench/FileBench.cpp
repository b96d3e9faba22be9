// Loading and saving files, compared with the bare system calls.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <utility>

#include "bench/Documents.h"
#include "common/Folders.h"
#include "common/Handles.h"
#include "notes/FileIo.h"

namespace {

constexpr int kNotes = 1000;

WideString folder() {
    return TEXT("C:\\vellum-bench");
}

WideString noteFile(int number) {
    return folder() + formatWideString(TEXT("\\note-%04u.json"), static_cast<unsigned>(number));
}

void makeNotes() {
    static bool made = false;
    if (std::exchange(made, true)) return;
    createDirectoryTree(folder());
    for (int i = 0; i < kNotes; ++i)
        if (!writeFileAtomic(noteFile(i), documents()[0].bytes)) std::abort();
}

void readBare(const WideString& path) {
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size;
    DWORD count = 0;
    char bytes[4096];
    if (!GetFileSizeEx(file.get(), &size) || !ReadFile(file.get(), bytes, sizeof bytes, &count, nullptr)) std::abort();
    benchmark::DoNotOptimize(bytes);
}

void loadNote(const WideString& path) {
    NoteRecord record;
    if (!loadNoteFile(path, record, nullptr)) std::abort();
    benchmark::DoNotOptimize(record.id.data());
}

void measureFiles(benchmark::State& state, void (*load)(const WideString&)) {
    makeNotes();
    for (auto _ : state)
        for (int i = 0; i < kNotes; ++i)
            load(noteFile(i));
    state.SetItemsProcessed(state.iterations() * kNotes);
}

// The bare calls of a save: write, flush, close, rename.
void saveBare(const WideString& path, const Document& document) {
    const WideString draft = path + TEXT(".draft");
    FileHandle file(
        CreateFileW(draft.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD count = 0;
    WriteFile(file.get(), document.bytes.data(), static_cast<DWORD>(document.bytes.size()), &count, nullptr);
    FlushFileBuffers(file.get());
    file.reset();
    if (!MoveFileExW(draft.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) std::abort();
}

void saveNote(const WideString& path, const Document& document) {
    if (!saveNoteFile(path, document.record, nullptr)) std::abort();
}

void measureSave(benchmark::State& state, void (*save)(const WideString&, const Document&), const Document& document) {
    createDirectoryTree(folder());
    for (auto _ : state)
        save(noteFile(0), document);
}

}  // namespace

void registerFileBenchmarks() {
    benchmark::RegisterBenchmark("load 1000/vellumd", measureFiles, loadNote)->UseRealTime();
    benchmark::RegisterBenchmark("load 1000/bare reads", measureFiles, readBare)->UseRealTime();
    for (const Document& document : documents()) {
        const std::string name = std::string("save ") + document.name;
        benchmark::RegisterBenchmark((name + "/vellumd").c_str(), measureSave, saveNote, document)->UseRealTime();
        benchmark::RegisterBenchmark((name + "/bare save").c_str(), measureSave, saveBare, document)->UseRealTime();
    }
}
