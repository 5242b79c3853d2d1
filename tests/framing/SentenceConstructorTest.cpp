// The framer contract every framer shares: how AddData queues bytes and how
// GetSentence maps the scanner's result onto its argument, checked on a
// scripted scanner and then on each real framer with a sentence of its kind.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

// A scanner that returns scripted results.
class CScriptedFramer : public CSentenceConstructor {
public:
    std::vector<int> results;
    ByteVector sentenceOnSuccess;

protected:
    int ExtractSentence() override {
        const int result = results.at(m_next++);
        if (result == 1) m_completedSentence = sentenceOnSuccess;
        return result;
    }

private:
    size_t m_next = 0;
};

// Success and failure are checked on every real framer below; what remains is
// that any other result of the scanner reads as "need more bytes".
TEST(SentenceConstructorBase, AnyOtherScannerResultLeavesArgumentUntouched) {
    for (int result : {0, 2, -2, 99}) {
        CScriptedFramer framer;
        framer.results = {result};
        ByteVector sentence = Bytes("kept");
        EXPECT_EQ(framer.GetSentence(sentence), 0) << "scanner result " << result;
        EXPECT_EQ(Text(sentence), "kept") << "scanner result " << result;
    }
}

// One framer of each kind with two valid sentences and one that fails its
// checksum, all as they appear on the wire, and what each valid one is
// delivered as (text sentences keep only their first line-end byte).
struct SFramerCase {
    const char* name;
    std::function<std::unique_ptr<CSentenceConstructor>()> make;
    ByteVector first, firstDelivered;
    ByteVector second, secondDelivered;
    ByteVector broken;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const SFramerCase& c, std::ostream* out) { *out << c.name; }

ByteVector WithoutLastByte(const ByteVector& bytes) {
    return ByteVector(bytes.begin(), bytes.end() - 1);
}

ByteVector Corrupted(ByteVector bytes, size_t at) {
    bytes[at] ^= 0x01;
    return bytes;
}

std::vector<SFramerCase> FramerCases() {
    const ByteVector frame1 = BinaryFrame(42, CountingBody(88));
    const ByteVector frame2 = BinaryFrame(241, CountingBody(12, 0x80));
    const ByteVector ascii1 = Bytes(AsciiSentence("VERSIONA,COM1,0,55.0,FINESTEERING;1,GPSCARD"));
    const ByteVector ascii2 = Bytes(AsciiSentence("LOGA,COM1,0,0.0,UNKNOWN;OK"));
    const ByteVector nmea1 = Bytes(NmeaSentence("GPGGA,064929.00,1726.5842,N,07822.4470,E,1,38"));
    const ByteVector nmea2 = Bytes(NmeaSentence("GPZDA,064930.00,28,11,2018,,"));
    return {
        {"Binary", [] { return std::make_unique<Novatel::CNovatelBinarySentenceConstructor>(); },
         frame1, frame1, frame2, frame2, Corrupted(frame1, 40)},
        {"Ascii", [] { return std::make_unique<Novatel::CNovatelASCIISentenceConstructor>(); },
         ascii1, WithoutLastByte(ascii1), ascii2, WithoutLastByte(ascii2), Corrupted(ascii1, 5)},
        {"Nmea", [] { return std::make_unique<CNMEASentenceConstructor>(); }, nmea1,
         WithoutLastByte(nmea1), nmea2, WithoutLastByte(nmea2), Corrupted(nmea1, 5)},
    };
}

class EveryFramer : public ::testing::TestWithParam<SFramerCase> {};

TEST_P(EveryFramer, DeliversSentenceFedOneByteAtATimeOnceAfterItsLastByte) {
    const SFramerCase& c = GetParam();
    auto framer = c.make();
    ByteVector sentence = Bytes("untouched");
    EXPECT_EQ(framer->GetSentence(sentence), 0) << "a fresh framer has nothing to hand out";
    EXPECT_EQ(Text(sentence), "untouched");
    int delivered = 0;
    for (size_t i = 0; i < c.first.size(); ++i) {
        framer->AddData({c.first[i]});
        const int result = framer->GetSentence(sentence);
        ASSERT_NE(result, -1) << "byte " << i;
        if (result == 1) {
            ++delivered;
            EXPECT_EQ(i, c.firstDelivered.size() - 1) << "delivered before or after its last byte";
            EXPECT_EQ(sentence, c.firstDelivered);
        }
        EXPECT_EQ(framer->GetSentence(sentence), 0) << "byte " << i;
    }
    EXPECT_EQ(delivered, 1);
}

TEST_P(EveryFramer, DeliversSentencesOfOneChunkInTurnAcrossAFailureThatEmptiesArgument) {
    const SFramerCase& c = GetParam();
    auto framer = c.make();
    framer->AddData(Join({c.first, c.broken, c.second}));
    ByteVector sentence;
    EXPECT_EQ(framer->GetSentence(sentence), 1);
    EXPECT_EQ(sentence, c.firstDelivered);
    EXPECT_EQ(framer->GetSentence(sentence), -1);
    EXPECT_TRUE(sentence.empty()) << "a failure must not leave the earlier sentence in place";
    EXPECT_EQ(framer->GetSentence(sentence), 1);
    EXPECT_EQ(sentence, c.secondDelivered);
    EXPECT_EQ(framer->GetSentence(sentence), 0);
}

TEST_P(EveryFramer, SkipsForeignBytesBetweenSentences) {
    const SFramerCase& c = GetParam();
    auto framer = c.make();
    const ByteVector noise = Bytes("\r\n<OK\r\n[COM1]random text, 12.5 *00\n\x01\x02\x7f");
    const SDrained drained = Feed(*framer, Join({noise, c.first, noise, noise, c.second, noise}));
    EXPECT_EQ(drained.failures, 0);
    EXPECT_EQ(drained.sentences, std::vector<ByteVector>({c.firstDelivered, c.secondDelivered}));
}

TEST_P(EveryFramer, GivesSameResultsWhateverTheChunkSize) {
    const SFramerCase& c = GetParam();
    const ByteVector stream = Join({c.first, c.broken, c.second, c.first, c.broken});
    auto whole = c.make();
    const SDrained reference = Feed(*whole, stream);
    ASSERT_EQ(reference.sentences.size(), 3u);
    ASSERT_EQ(reference.failures, 2);
    for (size_t chunk : {1, 2, 3, 7, 10, 64, 1024}) {
        auto framer = c.make();
        const SDrained drained = Feed(*framer, stream, chunk);
        EXPECT_EQ(drained.sentences, reference.sentences) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, reference.failures) << "chunks of " << chunk;
    }
}

INSTANTIATE_TEST_SUITE_P(Framers, EveryFramer, ::testing::ValuesIn(FramerCases()),
                         [](const ::testing::TestParamInfo<SFramerCase>& info) {
                             return std::string(info.param.name);
                         });

}  // namespace
