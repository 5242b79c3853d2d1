// The framers' input queue and bulk paths: a sentence start, a run of text or a
// frame's fixed header part cut by a chunk boundary at any byte, chunks added
// before the queue was drained, and the largest frame the header can announce.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

// Feeds the stream as two chunks split before byte `split`, draining after each.
SDrained FeedSplit(CSentenceConstructor& framer, const ByteVector& stream, size_t split) {
    SDrained drained;
    framer.AddData(ByteVector(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(split)));
    Drain(framer, drained);
    framer.AddData(ByteVector(stream.begin() + static_cast<std::ptrdiff_t>(split), stream.end()));
    Drain(framer, drained);
    return drained;
}

// A framer kind with a stream that exercises its special cases, and what the
// stream must yield.
struct SSplitCase {
    const char* name;
    std::function<std::unique_ptr<CSentenceConstructor>()> make;
    ByteVector stream;
    std::vector<ByteVector> sentences;
    int failures;
};

void PrintTo(const SSplitCase& c, std::ostream* out) { *out << c.name; }

// No byte 0xAA after the first, so no sync pattern hides inside the frame.
ByteVector SyncFreeFrame(uint16_t messageId, size_t bodySize) {
    for (uint8_t first = 1;; ++first) {
        ByteVector frame = BinaryFrame(messageId, CountingBody(bodySize, first));
        bool clean = true;
        for (size_t i = 1; i < frame.size(); ++i) clean = clean && frame[i] != 0xAA;
        if (clean) return frame;
    }
}

SSplitCase BinaryCase() {
    const ByteVector afterRepeatedSync = SyncFreeFrame(42, 20);
    const ByteVector lost = SyncFreeFrame(43, 16);
    const ByteVector afterBrokenSync = SyncFreeFrame(44, 12);
    ByteVector corrupt = SyncFreeFrame(45, 30);
    corrupt[20] ^= 0x01;
    const ByteVector last = SyncFreeFrame(46, 0);
    // Noise holding a lone AA; AA AA 44 12 (the second AA starts the frame); AA 44 AA 44 12
    // (the frame at the second AA is lost); AA 44 13 (broken third sync byte); a frame with
    // a wrong CRC; a frame with an empty body.
    const ByteVector stream = Join({{0x01, 0xAA, 0x02, 0xAA},
                                    afterRepeatedSync,
                                    {0xAA, 0x44},
                                    lost,
                                    {0xAA, 0x44, 0x13},
                                    afterBrokenSync,
                                    corrupt,
                                    last});
    return {"Binary",
            [] { return std::make_unique<Novatel::CNovatelBinarySentenceConstructor>(); },
            stream,
            {afterRepeatedSync, afterBrokenSync, last},
            1};
}

SSplitCase AsciiCase() {
    const std::string a = AsciiSentence("LOGA,COM1#2;OK");
    const std::string b = AsciiSentence("VERSIONA,COM1,0,55.0;1,GPSCARD");
    const std::string overlong = "#" + std::string(4096, 'y') + "z tail\n";
    const std::string stream = "<OK\r\n" + a + "#BAD*00000000\r" + overlong + b;
    return {"Ascii",
            [] { return std::make_unique<Novatel::CNovatelASCIISentenceConstructor>(); },
            Bytes(stream),
            {Bytes(a.substr(0, a.size() - 1)), Bytes(b.substr(0, b.size() - 1))},
            2};
}

SSplitCase NmeaCase() {
    const std::string a = NmeaSentence("GPGGA,064929.00,1726.5842,N,07822.4470,E,1,38", "\n");
    const std::string b = NmeaSentence("GPZDA,064930.00,28,11,2018,,");
    const std::string overlong = "$" + std::string(1024, 'y') + "z tail\r\n";
    const std::string stream = "noise$GP" + a + "$GPBAD*00\r\n" + overlong + b + "$cut";
    return {"Nmea",
            [] { return std::make_unique<CNMEASentenceConstructor>(); },
            Bytes(stream),
            {Bytes(a), Bytes(b.substr(0, b.size() - 1))},
            2};
}

class FramerSplit : public ::testing::TestWithParam<SSplitCase> {};

TEST_P(FramerSplit, YieldsTheSameWhereverOneChunkEnds) {
    const SSplitCase& c = GetParam();
    auto whole = c.make();
    const SDrained reference = Feed(*whole, c.stream);
    ASSERT_EQ(reference.sentences, c.sentences);
    ASSERT_EQ(reference.failures, c.failures);
    for (size_t split = 0; split <= c.stream.size(); ++split) {
        auto framer = c.make();
        const SDrained drained = FeedSplit(*framer, c.stream, split);
        ASSERT_EQ(drained.sentences, c.sentences) << "split before byte " << split;
        ASSERT_EQ(drained.failures, c.failures) << "split before byte " << split;
    }
}

TEST_P(FramerSplit, KeepsUnreadBytesWhenMoreArriveBeforeTheQueueIsDrained) {
    // The port handler always drains, but the queue must not lose or repeat bytes
    // when a caller takes one result per chunk and the consumed part is compacted.
    const SSplitCase& c = GetParam();
    for (size_t chunk : {1, 5, 64, 1000}) {
        auto framer = c.make();
        SDrained drained;
        ByteVector sentence;
        for (size_t at = 0; at < c.stream.size(); at += chunk) {
            const size_t end = std::min(c.stream.size(), at + chunk);
            framer->AddData(ByteVector(c.stream.begin() + static_cast<std::ptrdiff_t>(at),
                                       c.stream.begin() + static_cast<std::ptrdiff_t>(end)));
            const int result = framer->GetSentence(sentence);
            if (result == 1) drained.sentences.push_back(sentence);
            if (result == -1) ++drained.failures;
        }
        Drain(*framer, drained);
        EXPECT_EQ(drained.sentences, c.sentences) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, c.failures) << "chunks of " << chunk;
    }
}

INSTANTIATE_TEST_SUITE_P(Framers, FramerSplit,
                         ::testing::Values(BinaryCase(), AsciiCase(), NmeaCase()),
                         [](const ::testing::TestParamInfo<SSplitCase>& info) {
                             return std::string(info.param.name);
                         });

TEST(NovatelBinaryFraming, CollectsFrameWithTheLargestBodyAndHeader) {
    const ByteVector frame = FrameWithHeaderLength(255, CountingBody(65535));
    ASSERT_EQ(frame.size(), 255u + 65535u + 4u);
    for (size_t chunk : {0, 1024, 4093}) {
        Novatel::CNovatelBinarySentenceConstructor framer;
        const SDrained drained = Feed(framer, Join({frame, frame}), chunk);
        EXPECT_EQ(drained.failures, 0) << "chunks of " << chunk;
        ASSERT_EQ(drained.sentences.size(), 2u) << "chunks of " << chunk;
        EXPECT_TRUE(drained.sentences[0] == frame && drained.sentences[1] == frame)
            << "chunks of " << chunk;
    }
}

}  // namespace
