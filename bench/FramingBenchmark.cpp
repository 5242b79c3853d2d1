// Throughput of each framer alone and of the CRC-32, over real recordings and
// the simulator's stream, fed in chunks of the daemon's default read size.
// Reported in bytes per second of receiver stream.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "bench/BenchmarkStreams.h"

namespace {

// Frames the whole stream once with a fresh framer; returns the sentences that passed.
template <class Framer>
size_t FrameStream(const ByteVector& stream) {
    Framer framer;
    size_t sentences = 0;
    ByteVector chunk, sentence;
    for (size_t at = 0; at < stream.size(); at += Bench::kReadSize) {
        const size_t end = std::min(stream.size(), at + Bench::kReadSize);
        chunk.assign(stream.begin() + static_cast<std::ptrdiff_t>(at),
                     stream.begin() + static_cast<std::ptrdiff_t>(end));
        framer.AddData(chunk);
        for (int result; (result = framer.GetSentence(sentence)) != 0;) {
            if (result == 1) ++sentences;
        }
    }
    return sentences;
}

template <class Framer>
void RunFramer(benchmark::State& state, const ByteVector& stream, const char* what) {
    if (stream.empty()) {
        state.SkipWithError((std::string("recording not found: ") + what).c_str());
        return;
    }
    size_t sentences = 0;
    for (auto _ : state) sentences = FrameStream<Framer>(stream);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream.size()));
    state.counters["sentences"] = static_cast<double>(sentences);
}

void BM_BinaryFramer_Recordings(benchmark::State& state) {
    RunFramer<Novatel::CNovatelBinarySentenceConstructor>(state, Bench::AllRecordings(), "*.gps");
}
void BM_BinaryFramer_Simulated(benchmark::State& state) {
    RunFramer<Novatel::CNovatelBinarySentenceConstructor>(state, Bench::SimulatedStream(600),
                                                          "simulator");
}
void BM_AsciiFramer_Recordings(benchmark::State& state) {
    static const ByteVector stream = Bench::LoadRecording("oemv3-ParsingData.asc");
    RunFramer<Novatel::CNovatelASCIISentenceConstructor>(state, stream, "oemv3-ParsingData.asc");
}
void BM_AsciiFramer_BinaryStream(benchmark::State& state) {
    // The text framers read every binary byte too: their cost on a binary stream.
    RunFramer<Novatel::CNovatelASCIISentenceConstructor>(state, Bench::AllRecordings(), "*.gps");
}
void BM_NmeaFramer_Simulated(benchmark::State& state) {
    RunFramer<CNMEASentenceConstructor>(state, Bench::SimulatedStream(600), "simulator");
}
void BM_NmeaFramer_BinaryStream(benchmark::State& state) {
    RunFramer<CNMEASentenceConstructor>(state, Bench::AllRecordings(), "*.gps");
}

BENCHMARK(BM_BinaryFramer_Recordings)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BinaryFramer_Simulated)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AsciiFramer_Recordings)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AsciiFramer_BinaryStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NmeaFramer_Simulated)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NmeaFramer_BinaryStream)->Unit(benchmark::kMillisecond);

// The three framers as the port handler runs them: every chunk to each in turn,
// each drained before the next. Most of a binary stream's cost is the CRC-32 of
// the binary framer; the rest is what the queues and scans cost.
void BM_AllFramers_Recordings(benchmark::State& state) {
    const ByteVector& stream = Bench::AllRecordings();
    if (stream.empty()) {
        state.SkipWithError("recording not found: *.gps");
        return;
    }
    size_t sentences = 0;
    for (auto _ : state) {
        Novatel::CNovatelBinarySentenceConstructor binary;
        Novatel::CNovatelASCIISentenceConstructor ascii;
        CNMEASentenceConstructor nmea;
        CSentenceConstructor* framers[] = {&binary, &ascii, &nmea};
        ByteVector chunk, sentence;
        sentences = 0;
        for (size_t at = 0; at < stream.size(); at += Bench::kReadSize) {
            const size_t end = std::min(stream.size(), at + Bench::kReadSize);
            chunk.assign(stream.begin() + static_cast<std::ptrdiff_t>(at),
                         stream.begin() + static_cast<std::ptrdiff_t>(end));
            for (CSentenceConstructor* framer : framers) {
                framer->AddData(chunk);
                for (int result; (result = framer->GetSentence(sentence)) != 0;) {
                    if (result == 1) ++sentences;
                }
            }
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream.size()));
    state.counters["sentences"] = static_cast<double>(sentences);
}
BENCHMARK(BM_AllFramers_Recordings)->Unit(benchmark::kMillisecond);

// The CRC-32 over a block the size of a large RANGE frame.
void BM_Crc32Block(benchmark::State& state) {
    ByteVector block(static_cast<size_t>(state.range(0)));
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<uint8_t>(i * 31u + 7u);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Crc32Block(block.size(), block.data()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_Crc32Block)->Arg(1024);

}  // namespace
