// Throughput of the receive path, in bytes per second of receiver stream, over
// the real recordings and a long simulator-written stream:
// - framers and factory: the three framers, the record factory and the
//   records' deletion, fed in chunks of the daemon's default read size;
// - port handler: the daemon's whole path from a file source through the
//   framers, the factory and every observer to the log datagrams, wired as
//   the daemon wires it (no screen dump).

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "LogObserver/DiagnosticsObserver.h"
#include "LogObserver/EpochFlusher.h"
#include "LogObserver/NMEALogObserver.h"
#include "LogObserver/PositionManager.h"
#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "bench/BenchmarkStreams.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "io/FileHandler.h"
#include "main/PortHandler.h"

namespace {

// Frames and decodes the whole stream once; returns the number of records.
size_t ReceiveStream(const ByteVector& stream) {
    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    CSentenceConstructor* framers[] = {&binary, &ascii, &nmea};
    size_t records = 0;
    ByteVector chunk, sentence;
    for (size_t at = 0; at < stream.size(); at += Bench::kReadSize) {
        size_t end = std::min(stream.size(), at + Bench::kReadSize);
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

void SetBytes(benchmark::State& state, const ByteVector& stream) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(stream.size()));
}

void BM_FramersAndFactory(benchmark::State& state, const char* recording) {
    const ByteVector stream = Bench::LoadRecording(recording);
    if (stream.empty()) {
        state.SkipWithError((std::string("recording not found: ") + recording).c_str());
        return;
    }
    size_t records = 0;
    for (auto _ : state) records = ReceiveStream(stream);
    SetBytes(state, stream);
    state.counters["records"] = static_cast<double>(records);
}

BENCHMARK_CAPTURE(BM_FramersAndFactory, propak6_basic_fix, "propak6-basic-fix.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_FramersAndFactory, oemv_test1_rcvr1, "oemv-test1_rcvr1.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_FramersAndFactory, mixed_alllogs, "mixed-alllogs-repaired.gps")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_FramersAndFactory, ascii_nmea_mix, "udp-ascii-nmea-mix.txt")
    ->Unit(benchmark::kMillisecond);

void BM_FramersAndFactory_Simulated(benchmark::State& state) {
    const ByteVector& stream = Bench::SimulatedStream(600);
    size_t records = 0;
    for (auto _ : state) records = ReceiveStream(stream);
    SetBytes(state, stream);
    state.counters["records"] = static_cast<double>(records);
}
BENCHMARK(BM_FramersAndFactory_Simulated)->Unit(benchmark::kMillisecond);

// Runs a port handler with the daemon's observers over the stream, written to a
// file and read back by a file source, until the source runs dry.
size_t RunPortHandler(const std::string& path) {
    CFileHandler source;
    source.SetPortName(path);
    source.SetReadSize(static_cast<int>(Bench::kReadSize));
    source.Open();

    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    CReceiverStatusObserver statusObserver;
    CConstellationManager constellationManager;
    CPositionManager positionManager;
    CNMEALogObserver nmeaObserver;
    CDiagnosticsObserver diagnosticsObserver;
    EpochFlusher epochFlusher;
    positionManager.SetStatusObserver(&statusObserver);
    nmeaObserver.SetStatusObserver(&statusObserver);
    CCommandManager commandManager;
    commandManager.SetByteSource(&source);
    commandManager.SetStatusObserver(&statusObserver);
    commandManager.SetConstellationManager(&constellationManager);
    commandManager.BuildConfiguration();

    CPortHandler portHandler("NovatelPortHandler");
    portHandler.SetByteSource(&source);
    portHandler.SetFramers({&binary, &ascii, &nmea});
    portHandler.SetObservers({&statusObserver, &positionManager, &nmeaObserver,
                              &diagnosticsObserver, &constellationManager, &epochFlusher,
                              &commandManager});
    portHandler.SetCommandManager(&commandManager);
    epochFlusher.SetPortHandler(&portHandler);
    portHandler.Start();
    size_t passes = 0;
    while (portHandler.Process(true) != 0) ++passes;
    return passes;
}

void RunPortHandlerOver(benchmark::State& state, const ByteVector& stream, const char* what) {
    if (stream.empty()) {
        state.SkipWithError((std::string("no stream: ") + what).c_str());
        return;
    }
    char path[] = "/tmp/quillond-bench-stream-XXXXXX";
    const int descriptor = ::mkstemp(path);
    if (descriptor < 0) {
        state.SkipWithError("cannot make a temporary file");
        return;
    }
    ::close(descriptor);
    {
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(stream.data()),
                  static_cast<std::streamsize>(stream.size()));
    }
    // The command manager prints each command it queues; those lines would bury the
    // benchmark's own report, so standard output goes to /dev/null meanwhile.
    std::fflush(stdout);
    const int savedOutput = ::dup(STDOUT_FILENO);
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) ::dup2(null, STDOUT_FILENO);
    for (auto _ : state) benchmark::DoNotOptimize(RunPortHandler(path));
    std::fflush(stdout);
    if (savedOutput >= 0) ::dup2(savedOutput, STDOUT_FILENO);
    if (savedOutput >= 0) ::close(savedOutput);
    if (null >= 0) ::close(null);
    ::unlink(path);
    SetBytes(state, stream);
}

void BM_PortHandler_Recordings(benchmark::State& state) {
    RunPortHandlerOver(state, Bench::AllRecordings(), "recordings (*.gps)");
}
void BM_PortHandler_Simulated(benchmark::State& state) {
    RunPortHandlerOver(state, Bench::SimulatedStream(600), "simulator");
}
BENCHMARK(BM_PortHandler_Recordings)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PortHandler_Simulated)->Unit(benchmark::kMillisecond);

}  // namespace
