// The NMEA framer: "$" ... "*" and two checksum digits, ended by CR or LF,
// "$" restarting a sentence silently, the 1024-byte limit, and the real
// recordings.

#include <gtest/gtest.h>

#include <ostream>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

SDrained FrameAll(const std::string& stream, size_t chunkSize = 0) {
    CNMEASentenceConstructor framer;
    return Feed(framer, Bytes(stream), chunkSize);
}

std::vector<std::string> Texts(const SDrained& drained) {
    std::vector<std::string> texts;
    for (const ByteVector& sentence : drained.sentences) texts.push_back(Text(sentence));
    return texts;
}

const char kGga[] = "GPGGA,222306.75,2926.6326,N,09836.8840,W,1,08,1.2,255.75,M,-26.00,M,,";
const char kRmc[] = "GPRMC,222306.75,A,2926.6326482,N,09836.8840339,W,0.044,80.0,120717,0.0,E,A";

TEST(NmeaFraming, EndsSentenceAtFirstLineEndAndDropsTheSecond) {
    struct {
        const char* lineEnd;
        const char* kept;
    } cases[] = {{"\r\n", "\r"}, {"\r", "\r"}, {"\n", "\n"}, {"\n\r", "\n"}};
    for (const auto& c : cases) {
        const SDrained drained =
            FrameAll(NmeaSentence(kGga, c.lineEnd) + NmeaSentence(kRmc, c.lineEnd));
        EXPECT_EQ(drained.failures, 0) << "line end " << testing::PrintToString(c.lineEnd);
        EXPECT_EQ(Texts(drained), std::vector<std::string>(
                                      {NmeaSentence(kGga, c.kept), NmeaSentence(kRmc, c.kept)}));
    }
}

TEST(NmeaFraming, RejectsSentenceWhoseChecksumIsWrongAndDeliversTheNext) {
    std::string bad = NmeaSentence(kGga);
    bad[bad.size() - 3] = bad[bad.size() - 3] == '0' ? '1' : '0';
    const SDrained drained = FrameAll(bad + NmeaSentence(kRmc));
    EXPECT_EQ(drained.failures, 1);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({NmeaSentence(kRmc, "\r")}));
}

TEST(NmeaFraming, DollarAbandonsSentenceSilently) {
    // A sentence cut short by the next "$" is no failure; only the new one counts.
    for (const char* cut : {"$G", "$", "$GPGGA,1,2,3*"}) {
        const SDrained drained = FrameAll(cut + NmeaSentence(kRmc));
        EXPECT_EQ(drained.failures, 0) << cut;
        EXPECT_EQ(Texts(drained), std::vector<std::string>({NmeaSentence(kRmc, "\r")})) << cut;
    }
}

TEST(NmeaFraming, DollarRestartsEvenAnOverlongSentence) {
    const SDrained drained = FrameAll("$" + std::string(1024, 'x') + NmeaSentence(kRmc));
    EXPECT_EQ(drained.failures, 0);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({NmeaSentence(kRmc, "\r")}));
}

TEST(NmeaFraming, AcceptsLongestSentenceTheLimitAllows) {
    // "$" + text + "*" + 2 digits may hold 1025 bytes before the line end.
    const std::string sentence = NmeaSentence(std::string(1025 - 4, 'x'));
    ASSERT_EQ(sentence.size(), 1025u + 2);
    const SDrained drained = FrameAll(sentence, 10);
    EXPECT_EQ(drained.failures, 0);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0].size(), 1026u);
}

TEST(NmeaFraming, RejectsOverlongSentenceAtTheNextByteAndResumesIdle) {
    // 1025 bytes without a line end: the next byte is one too many; the rest of
    // that text is skipped until the next "$". The ASCII framer's 4096 does not apply.
    const std::string overlong = "$" + std::string(1024, 'y');
    for (size_t chunk : {0, 1, 100}) {
        const SDrained drained = FrameAll(overlong + "z,tail*00\r\n" + NmeaSentence(kRmc), chunk);
        EXPECT_EQ(drained.failures, 1) << "chunks of " << chunk;
        EXPECT_EQ(Texts(drained), std::vector<std::string>({NmeaSentence(kRmc, "\r")}))
            << "chunks of " << chunk;
    }
    const std::string longestSentence = NmeaSentence(std::string(1025 - 4 + 1, 'x'));
    EXPECT_EQ(FrameAll(longestSentence).failures, 1);
}

// Figures for the recordings: lines that start with "$" (grep -c '^\$', after
// turning CR into LF), confirmed by a Python model of these framing rules that
// found no checksum failure.
struct STextRecording {
    const char* file;
    size_t sentences;
    char lineEnd;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const STextRecording& c, std::ostream* out) { *out << c.file; }

class NmeaRecording : public ::testing::TestWithParam<STextRecording> {};

TEST_P(NmeaRecording, YieldsEveryNmeaSentenceWithNoFailure) {
    QUILLOND_REQUIRE_CAPTURE(path, GetParam().file);
    const ByteVector stream = ReadCapture(path);
    for (size_t chunk : {0, 1, 512}) {
        CNMEASentenceConstructor framer;
        const SDrained drained = Feed(framer, stream, chunk);
        EXPECT_EQ(drained.sentences.size(), GetParam().sentences) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, 0) << "chunks of " << chunk;
        for (const ByteVector& sentence : drained.sentences) {
            ASSERT_EQ(sentence.front(), '$');
            ASSERT_EQ(sentence.back(), GetParam().lineEnd);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Recordings, NmeaRecording,
                         ::testing::Values(
                             // LF line ends.
                             STextRecording{"nmea-sample.txt", 24, '\n'},
                             // GPGGA and GPRMC among NovAtel ASCII logs, CR LF line ends.
                             STextRecording{"udp-ascii-nmea-mix.txt", 80, '\r'},
                             // Abbreviated ASCII only.
                             STextRecording{"oem7-rxconfig-abbrev-ascii.txt", 0, '\r'}),
                         [](const ::testing::TestParamInfo<STextRecording>& info) {
                             return RecordingTestName(info.param.file);
                         });

}  // namespace
