// The NovAtel ASCII framer: "#" ... "*" and eight CRC digits, ended by CR or
// LF, the 4096-byte limit, and the real recordings.

#include <gtest/gtest.h>

#include <ostream>

#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;
using Novatel::CNovatelASCIISentenceConstructor;

namespace {

SDrained FrameAll(const std::string& stream, size_t chunkSize = 0) {
    CNovatelASCIISentenceConstructor framer;
    return Feed(framer, Bytes(stream), chunkSize);
}

std::vector<std::string> Texts(const SDrained& drained) {
    std::vector<std::string> texts;
    for (const ByteVector& sentence : drained.sentences) texts.push_back(Text(sentence));
    return texts;
}

const char kVersion[] = "VERSIONA,COM1,0,55.0,FINESTEERING,1337,400.0,00000000,3681,2310;1,GPSCARD";

TEST(NovatelAsciiFraming, EndsSentenceAtFirstLineEndAndKeepsIt) {
    struct {
        const char* lineEnd;
        const char* kept;
    } cases[] = {{"\r\n", "\r"}, {"\r", "\r"}, {"\n", "\n"}, {"\n\r", "\n"}};
    for (const auto& c : cases) {
        const std::string sentence = AsciiSentence(kVersion, c.lineEnd);
        const SDrained drained = FrameAll(sentence + sentence);
        EXPECT_EQ(drained.failures, 0) << "line end " << testing::PrintToString(c.lineEnd);
        const std::string expected = AsciiSentence(kVersion, c.kept);
        EXPECT_EQ(Texts(drained), std::vector<std::string>({expected, expected}));
    }
}

TEST(NovatelAsciiFraming, HashInsideSentenceDoesNotRestartIt) {
    const std::string sentence = AsciiSentence("RXSTATUSA,COM1#2,0;note #3");
    const SDrained drained = FrameAll(sentence);
    EXPECT_EQ(drained.failures, 0);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({sentence.substr(0, sentence.size() - 1)}));
}

TEST(NovatelAsciiFraming, RejectsSentenceWhoseCrcDigitsDoNotMatch) {
    std::string bad = AsciiSentence(kVersion);
    bad[bad.size() - 3] = bad[bad.size() - 3] == '0' ? '1' : '0';
    const std::string good = AsciiSentence("LOGA,COM1;OK");
    const SDrained drained = FrameAll(bad + good);
    EXPECT_EQ(drained.failures, 1);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({good.substr(0, good.size() - 1)}));
}

TEST(NovatelAsciiFraming, RejectsSentenceWithoutCrc) {
    const SDrained drained = FrameAll("#LOGA,COM1;OK\r\n#\r\n#*\r\n");
    EXPECT_EQ(drained.failures, 3);
    EXPECT_TRUE(drained.sentences.empty());
}

TEST(NovatelAsciiFraming, AcceptsLongestSentenceTheLimitAllows) {
    // "#" + text + "*" + 8 digits may hold 4097 bytes before the line end.
    const std::string text(4097 - 10, 'x');
    const std::string sentence = AsciiSentence(text);
    ASSERT_EQ(sentence.size(), 4097u + 2);
    const SDrained drained = FrameAll(sentence, 100);
    EXPECT_EQ(drained.failures, 0);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0].size(), 4098u);
}

TEST(NovatelAsciiFraming, RejectsOverlongSentenceAtTheNextByteAndResumesIdle) {
    // 4097 bytes without a line end: the next byte is one too many and is lost;
    // the rest of that text is then skipped until the next "#".
    const std::string overlong = "#" + std::string(4096, 'y');
    const std::string good = AsciiSentence("LOGA,COM1;OK");
    for (size_t chunk : {0, 1, 1000}) {
        const SDrained drained = FrameAll(overlong + "z,more text*12345678\r\n" + good, chunk);
        EXPECT_EQ(drained.failures, 1) << "chunks of " << chunk;
        EXPECT_EQ(Texts(drained), std::vector<std::string>({good.substr(0, good.size() - 1)}))
            << "chunks of " << chunk;
    }
    // The same sentence one byte shorter is still collected and fails only its CRC.
    const SDrained shorter = FrameAll("#" + std::string(4095, 'y') + "z\r\n");
    EXPECT_EQ(shorter.failures, 1);
}

// Figures for the recordings: lines that start with "#" (grep -c '^#', after
// turning CR into LF), confirmed by a Python model of these framing rules that
// found no checksum failure.
struct STextRecording {
    const char* file;
    size_t sentences;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const STextRecording& c, std::ostream* out) { *out << c.file; }

class AsciiRecording : public ::testing::TestWithParam<STextRecording> {};

TEST_P(AsciiRecording, YieldsEveryAsciiSentenceWithNoFailure) {
    QUILLOND_REQUIRE_CAPTURE(path, GetParam().file);
    const ByteVector stream = ReadCapture(path);
    for (size_t chunk : {0, 1, 512}) {
        CNovatelASCIISentenceConstructor framer;
        const SDrained drained = Feed(framer, stream, chunk);
        EXPECT_EQ(drained.sentences.size(), GetParam().sentences) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, 0) << "chunks of " << chunk;
        for (const ByteVector& sentence : drained.sentences) {
            ASSERT_EQ(sentence.front(), '#');
            ASSERT_TRUE(sentence.back() == '\r' || sentence.back() == '\n');
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Recordings, AsciiRecording,
                         ::testing::Values(
                             // BESTPOSA and TIMEA among NMEA sentences, CR LF line ends.
                             STextRecording{"udp-ascii-nmea-mix.txt", 42},
                             // The receiver's ASCII rendering of one log of each kind.
                             STextRecording{"oemv3-OneEach.asc", 15},
                             // Abbreviated ASCII ("<" lines) only: nothing for this framer.
                             STextRecording{"oem7-rxconfig-abbrev-ascii.txt", 0}),
                         [](const ::testing::TestParamInfo<STextRecording>& info) {
                             return RecordingTestName(info.param.file);
                         });

}  // namespace
