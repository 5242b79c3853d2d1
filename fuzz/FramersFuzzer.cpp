// Fuzz target: the three framers on an arbitrary byte stream in arbitrary
// chunks. Each framer is run twice on the same stream, once given it whole and
// once in the chunks the input chooses; both runs must report the same
// sentences and failures in the same order, every sentence must pass its own
// checksum test, and every sentence goes on to the record factory as in the
// port handler.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/SentenceChecksums.h"
#include "fuzz/FuzzSupport.h"

namespace {

// What one GetSentence call reported: 1 with its sentence, or -1.
typedef std::pair<int, ByteVector> Outcome;

enum EFramer { kBinary, kAscii, kNmea, kFramerCount };

std::unique_ptr<CSentenceConstructor> MakeFramer(int kind) {
    switch (kind) {
        case kBinary:
            return std::unique_ptr<CSentenceConstructor>(
                new Novatel::CNovatelBinarySentenceConstructor);
        case kAscii:
            return std::unique_ptr<CSentenceConstructor>(
                new Novatel::CNovatelASCIISentenceConstructor);
        default:
            return std::unique_ptr<CSentenceConstructor>(new CNMEASentenceConstructor);
    }
}

// Calls GetSentence until it reports 0, collecting what came out.
void Drain(CSentenceConstructor& framer, std::vector<Outcome>& outcomes) {
    for (;;) {
        ByteVector sentence;
        const int result = framer.GetSentence(sentence);
        FUZZ_CHECK(result == 0 || result == 1 || result == -1);
        if (result == 0) return;
        FUZZ_CHECK(result == 1 || sentence.empty());
        outcomes.emplace_back(result, sentence);
    }
}

// The checks every delivered sentence of a framer must pass.
void CheckSentence(int kind, const ByteVector& sentence) {
    FUZZ_CHECK(!sentence.empty());
    switch (kind) {
        case kBinary: {
            FUZZ_CHECK(sentence[0] == 0xAA && sentence[1] == 0x44 && sentence[2] == 0x12);
            // H + M + 4 bytes; a frame whose lengths add up to less than that
            // still holds the ten bytes up to the length field and one more.
            const size_t expected = static_cast<size_t>(sentence[3]) + ReadUInt16(sentence, 8) + 4;
            FUZZ_CHECK(sentence.size() == std::max<size_t>(expected, 11));
            FUZZ_CHECK(HasValidCrc(sentence));
            break;
        }
        case kAscii:
            FUZZ_CHECK(sentence[0] == '#');
            FUZZ_CHECK(sentence.back() == '\r' || sentence.back() == '\n');
            FUZZ_CHECK(sentence.size() <= 4096 + 1);
            FUZZ_CHECK(HasValidAsciiChecksum(sentence));
            break;
        default:
            FUZZ_CHECK(sentence[0] == '$');
            FUZZ_CHECK(sentence.back() == '\r' || sentence.back() == '\n');
            FUZZ_CHECK(sentence.size() <= 1024 + 1);
            FUZZ_CHECK(HasValidNmeaChecksum(sentence));
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input(data, size);
    // The first bytes choose the chunk sizes, the rest is the stream.
    std::vector<size_t> chunkSizes;
    const size_t chunkCount = input.ConsumeIntegralInRange<size_t>(0, 16);
    for (size_t i = 0; i < chunkCount; ++i) {
        chunkSizes.push_back(input.ConsumeIntegralInRange<size_t>(1, 300));
    }
    const std::vector<uint8_t> rest = input.ConsumeRemainingBytes<uint8_t>();
    const ByteVector stream(rest.begin(), rest.end());

    for (int kind = 0; kind < kFramerCount; ++kind) {
        std::vector<Outcome> whole;
        std::unique_ptr<CSentenceConstructor> wholeFramer = MakeFramer(kind);
        wholeFramer->AddData(stream);
        Drain(*wholeFramer, whole);

        std::vector<Outcome> chunked;
        std::unique_ptr<CSentenceConstructor> chunkFramer = MakeFramer(kind);
        size_t at = 0;
        for (size_t i = 0; at < stream.size(); ++i) {
            const size_t length = chunkSizes.empty() ? 1
                                                     : std::min(chunkSizes[i % chunkSizes.size()],
                                                                stream.size() - at);
            chunkFramer->AddData(
                ByteVector(stream.begin() + static_cast<std::ptrdiff_t>(at),
                           stream.begin() + static_cast<std::ptrdiff_t>(at + length)));
            at += length;
            Drain(*chunkFramer, chunked);
        }
        FUZZ_CHECK(whole == chunked);

        for (const Outcome& outcome : whole) {
            if (outcome.first != 1) continue;
            CheckSentence(kind, outcome.second);
            Fuzz::CreateRecordOrExpectedEnding(outcome.second);
        }
    }
    return 0;
}
