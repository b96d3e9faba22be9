// Runs the benchmarks and prints ratios: the time of each competitor divided by the time of vellumd, measured in one
// run. Above 1 vellumd is faster.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

void registerNoteBenchmarks();
void registerFileBenchmarks();
void registerStartBenchmarks();

namespace {

class Ratios : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred)
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
            // "work/who", followed by "/real_time" if real time is measured.
            std::string name = run.run_name.function_name;
            const std::size_t slash = name.find('/');
            Row& row = rowOf(name.substr(0, slash));
            const bool isOnTheWall = !run.run_name.time_type.empty();
            const auto rate = run.counters.find("bytes_per_second");
            row.entries.push_back({name.substr(slash + 1),
                                   isOnTheWall ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime(),
                                   rate == run.counters.end() ? 0 : rate->second.value / 1e6});
        }
        std::fprintf(stderr, ".");
    }

    void Finalize() override {
        std::printf("\n%-14s %-14s %12s %10s %18s\n", "work", "who", "time", "MB/s", "times vellumd's");
        std::sort(rows_.begin(), rows_.end(), [](const Row& a, const Row& b) { return a.work < b.work; });
        for (Row& row : rows_) {
            // Interleaving mixes the results: sort vellumd first, then by time.
            std::sort(row.entries.begin(), row.entries.end(), [](const Entry& a, const Entry& b) {
                return (a.who == "vellumd") != (b.who == "vellumd") ? a.who == "vellumd"
                                                                    : a.nanoseconds < b.nanoseconds;
            });
            for (const Entry& entry : row.entries) {
                std::printf("%-14s %-14s %9.2f us ", row.work.c_str(), entry.who.c_str(), entry.nanoseconds / 1000);
                if (entry.megabytes > 0)
                    std::printf("%10.0f", entry.megabytes);
                else
                    std::printf("%10s", "");
                std::printf(" %17.2fx\n", entry.nanoseconds / row.entries.front().nanoseconds);
            }
        }
    }

  private:
    struct Entry {
        std::string who;
        double nanoseconds, megabytes;
    };
    struct Row {
        std::string work;
        std::vector<Entry> entries;
    };

    Row& rowOf(const std::string& work) {
        for (Row& row : rows_)
            if (row.work == work) return row;
        rows_.push_back({work, {}});
        return rows_.back();
    }

    std::vector<Row> rows_;
};

}  // namespace

int main(int count, char** arguments) {
    std::vector<char*> all(arguments, arguments + count);
    // Interleaved, so that a slow moment of the machine affects all competitors.
    for (const char* option :
         {"--benchmark_repetitions=5", "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1"})
        all.insert(all.begin() + 1, const_cast<char*>(option));
    int total = static_cast<int>(all.size());
    benchmark::Initialize(&total, all.data());
    registerNoteBenchmarks();
    registerFileBenchmarks();
#ifdef VELLUM_BENCH_START
    registerStartBenchmarks();
#endif
    Ratios ratios;
    benchmark::RunSpecifiedBenchmarks(&ratios);
    return 0;
}
