// Throughput of the receive path over real recordings: the three framers, the
// record factory and the records' deletion, fed in chunks of the daemon's
// default read size. Reported in bytes per second of receiver stream.

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"

namespace {

const size_t kReadSize = 1024;

ByteVector LoadRecording(const std::string& name) {
    std::ifstream in(std::string(QUILLOND_CAPTURES_DIR) + "/" + name, std::ios::binary);
    return ByteVector(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Frames and decodes the whole stream once; returns the number of records.
size_t ReceiveStream(const ByteVector& stream) {
    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    CSentenceConstructor* framers[] = {&binary, &ascii, &nmea};
    size_t records = 0;
    ByteVector chunk, sentence;
    for (size_t at = 0; at < stream.size(); at += kReadSize) {
        size_t end = std::min(stream.size(), at + kReadSize);
        chunk.assign(stream.begin() + static_cast<std::ptrdiff_t>(at),
                     stream.begin() + static_cast<std::ptrdiff_t>(end));
        for (CSentenceConstructor* framer : framers) {
            framer->AddData(chunk);
            for (int result; (result = framer->GetSentence(sentence)) != 0;) {
                if (result != 1) continue;
                std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
                if (record) ++records;
            }
        }
    }
    return records;
}

void BM_ReceivePath(benchmark::State& state, const char* recording) {
    ByteVector stream = LoadRecording(recording);
    if (stream.empty()) {
        state.SkipWithError((std::string("recording not found: ") + recording).c_str());
        return;
    }
    size_t records = 0;
    for (auto _ : state) records = ReceiveStream(stream);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * stream.size()));
    state.counters["records"] = static_cast<double>(records);
}

BENCHMARK_CAPTURE(BM_ReceivePath, propak6_basic_fix, "propak6-basic-fix.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReceivePath, oemv_test1_rcvr1, "oemv-test1_rcvr1.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReceivePath, mixed_alllogs, "mixed-alllogs-repaired.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ReceivePath, ascii_nmea_mix, "udp-ascii-nmea-mix.txt")
    ->Unit(benchmark::kMillisecond);

}  // namespace
