// The record factory with every decoder: sentences already cut by the framers
// are turned into records and deleted, as the port handler does per sentence.
// Reported in sentences per second.

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "bench/BenchmarkStreams.h"

namespace {

void RunFactory(benchmark::State& state, const std::vector<ByteVector>& sentences) {
    if (sentences.empty()) {
        state.SkipWithError("no sentences (recordings not found)");
        return;
    }
    size_t bytes = 0;
    for (const ByteVector& sentence : sentences) bytes += sentence.size();
    size_t records = 0;
    for (auto _ : state) {
        records = 0;
        for (const ByteVector& sentence : sentences) {
            std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
            if (record) ++records;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(sentences.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
    state.counters["records"] = static_cast<double>(records);
}

void BM_Factory_Recordings(benchmark::State& state) {
    static const std::vector<ByteVector> sentences = Bench::FrameAll(Bench::AllRecordings());
    RunFactory(state, sentences);
}
void BM_Factory_Simulated(benchmark::State& state) {
    static const std::vector<ByteVector> sentences = Bench::FrameAll(Bench::SimulatedStream(600));
    RunFactory(state, sentences);
}

BENCHMARK(BM_Factory_Recordings)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Factory_Simulated)->Unit(benchmark::kMillisecond);

}  // namespace
