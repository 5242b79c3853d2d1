#include "bench/BenchmarkStreams.h"

#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tools/simulator/Presenter.h"
#include "tools/simulator/SimulatedReceiver.h"

namespace Bench {

ByteVector LoadRecording(const std::string& name) {
    std::ifstream in(std::string(QUILLOND_CAPTURES_DIR) + "/" + name, std::ios::binary);
    return ByteVector(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

const ByteVector& AllRecordings() {
    static ByteVector all;
    static bool loaded = false;
    if (loaded) return all;
    loaded = true;
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(QUILLOND_CAPTURES_DIR)) {
        while (const struct dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name.size() > 4 && name.compare(name.size() - 4, 4, ".gps") == 0) {
                names.push_back(name);
            }
        }
        ::closedir(dir);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const ByteVector bytes = LoadRecording(name);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

const ByteVector& SimulatedStream(unsigned seconds) {
    static std::map<unsigned, ByteVector> streams;
    ByteVector& stream = streams[seconds];
    if (!stream.empty()) return stream;
    Simulator::CSimulatedReceiver receiver{Simulator::SReceiverSettings()};
    for (const std::string& request : Simulator::DaemonLogRequests()) {
        receiver.Receive(request + "\r\n");
    }
    for (unsigned second = 0; second < seconds; ++second) {
        receiver.Advance(1000);
        const ByteVector output = receiver.TakeOutput();
        stream.insert(stream.end(), output.begin(), output.end());
    }
    return stream;
}

std::vector<ByteVector> FrameAll(const ByteVector& stream) {
    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    CSentenceConstructor* framers[] = {&binary, &ascii, &nmea};
    std::vector<ByteVector> sentences;
    for (CSentenceConstructor* framer : framers) {
        framer->AddData(stream);
        ByteVector sentence;
        for (int result; (result = framer->GetSentence(sentence)) != 0;) {
            if (result == 1) sentences.push_back(sentence);
        }
    }
    return sentences;
}

}  // namespace Bench
