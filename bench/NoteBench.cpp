#include <benchmark/benchmark.h>

#include <cstdlib>

#include "bench/Compared.h"
#include "bench/Documents.h"

namespace {

void readOurs(const std::string& bytes, NoteRecord& record) {
    JsonValue value;
    if (!parseJsonUtf8(bytes, value, nullptr) || !noteFromJson(std::move(value), record)) std::abort();
}

void readFloor(const std::string& bytes, NoteRecord&) {
    std::string copy(bytes);
    benchmark::DoNotOptimize(copy.data());
}

std::string writeOursByValue(const NoteRecord& record) {
    return serializeJsonUtf8(noteToJson(record), true);
}

void measureRead(benchmark::State& state, const Document& document, void (*read)(const std::string&, NoteRecord&)) {
    for (auto _ : state) {
        NoteRecord record;
        read(document.bytes, record);
        benchmark::DoNotOptimize(record.id.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.bytes.size()));
}

void measureWrite(benchmark::State& state, const Document& document, std::string (*write)(const NoteRecord&)) {
    for (auto _ : state) {
        std::string bytes = write(document.record);
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document.bytes.size()));
}

// A library whose result differs is an error: it would not do the same work.
void demandSameRecord(const Document& document, void (*read)(const std::string&, NoteRecord&), const char* who) {
    NoteRecord record;
    read(document.bytes, record);
    if (serializeNote(record) == document.bytes) return;
    std::fprintf(stderr, "%s reads %s differently\n", who, document.name);
    std::abort();
}

}  // namespace

void registerNoteBenchmarks() {
    const struct {
        const char* who;
        void (*read)(const std::string&, NoteRecord&);
    } readers[] = {{"vellumd", readOurs},
                   {"RapidJSON", readWithRapidJson},
                   {"nlohmann", readWithNlohmann},
                   {"simdjson", readWithSimdjson},
                   {"copy", readFloor}};
    const struct {
        const char* who;
        std::string (*write)(const NoteRecord&);
    } writers[] = {{"vellumd", serializeNote},
                   {"by value", writeOursByValue},
                   {"RapidJSON", writeWithRapidJson},
                   {"nlohmann", writeWithNlohmann}};
    for (const Document& document : documents()) {
        for (const auto& reader : readers) {
            if (reader.read != readFloor) demandSameRecord(document, reader.read, reader.who);
            benchmark::RegisterBenchmark((std::string("read ") + document.name + "/" + reader.who).c_str(), measureRead,
                                         document, reader.read);
        }
        for (const auto& writer : writers)
            benchmark::RegisterBenchmark((std::string("write ") + document.name + "/" + writer.who).c_str(),
                                         measureWrite, document, writer.write);
    }
}
