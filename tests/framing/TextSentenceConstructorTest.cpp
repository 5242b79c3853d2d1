// The two text framers: NMEA ("$" ... "*" and two checksum digits, 1024-byte
// limit, "$" restarting a sentence silently) and NovAtel ASCII ("#" ... "*"
// and eight CRC digits, 4096-byte limit), both ended by CR or LF; and the
// real recordings.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

// One text framer and the rules it is held to.
struct STextFramer {
    const char* name;
    std::function<std::unique_ptr<CSentenceConstructor>()> make;
    std::function<std::string(const std::string&, const std::string&)> sentence;  // text, line end
    char start;                                                                   // "$" or "#"
    size_t longest;        // bytes a sentence may hold before its line end
    size_t checksumBytes;  // "*" and the digits
    const char* textA;
    const char* textB;
};

void PrintTo(const STextFramer& c, std::ostream* out) { *out << c.name; }

const STextFramer kNmea = {
    "Nmea",
    [] { return std::make_unique<CNMEASentenceConstructor>(); },
    NmeaSentence,
    '$',
    1025,
    3,
    "GPGGA,222306.75,2926.6326,N,09836.8840,W,1,08,1.2,255.75,M,-26.00,M,,",
    "GPRMC,222306.75,A,2926.6326482,N,09836.8840339,W,0.044,80.0,120717,0.0,E,A"};
const STextFramer kAscii = {
    "Ascii",
    [] { return std::make_unique<Novatel::CNovatelASCIISentenceConstructor>(); },
    AsciiSentence,
    '#',
    4097,
    9,
    "VERSIONA,COM1,0,55.0,FINESTEERING,1337,400.0,00000000,3681,2310;1,GPSCARD",
    "LOGA,COM1;OK"};

std::vector<std::string> Texts(const SDrained& drained) {
    std::vector<std::string> texts;
    for (const ByteVector& sentence : drained.sentences) texts.push_back(Text(sentence));
    return texts;
}

SDrained FrameAll(const STextFramer& c, const std::string& stream, size_t chunkSize = 0) {
    auto framer = c.make();
    return Feed(*framer, Bytes(stream), chunkSize);
}

class TextFramer : public ::testing::TestWithParam<STextFramer> {
protected:
    // Sentence B as delivered: only the first line-end byte kept.
    std::string DeliveredB() const { return GetParam().sentence(GetParam().textB, "\r"); }
};

TEST_P(TextFramer, EndsSentenceAtFirstLineEndAndKeepsOnlyThatByte) {
    const STextFramer& c = GetParam();
    struct {
        const char* lineEnd;
        const char* kept;
    } cases[] = {{"\r\n", "\r"}, {"\r", "\r"}, {"\n", "\n"}, {"\n\r", "\n"}};
    for (const auto& e : cases) {
        const SDrained drained =
            FrameAll(c, c.sentence(c.textA, e.lineEnd) + c.sentence(c.textB, e.lineEnd));
        EXPECT_EQ(drained.failures, 0) << "line end " << testing::PrintToString(e.lineEnd);
        EXPECT_EQ(Texts(drained), std::vector<std::string>(
                                      {c.sentence(c.textA, e.kept), c.sentence(c.textB, e.kept)}));
    }
}

TEST_P(TextFramer, RejectsSentenceWhoseChecksumIsWrongAndDeliversTheNext) {
    const STextFramer& c = GetParam();
    std::string bad = c.sentence(c.textA, "\r\n");
    bad[bad.size() - 3] = bad[bad.size() - 3] == '0' ? '1' : '0';
    const SDrained drained = FrameAll(c, bad + c.sentence(c.textB, "\r\n"));
    EXPECT_EQ(drained.failures, 1);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({DeliveredB()}));
}

TEST_P(TextFramer, AcceptsLongestSentenceAndRejectsOneByteMore) {
    const STextFramer& c = GetParam();
    const std::string longest =
        c.sentence(std::string(c.longest - 1 - c.checksumBytes, 'x'), "\r\n");
    ASSERT_EQ(longest.size(), c.longest + 2);
    const SDrained drained = FrameAll(c, longest, 10);
    EXPECT_EQ(drained.failures, 0);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0].size(), c.longest + 1);
    const SDrained tooLong =
        FrameAll(c, c.sentence(std::string(c.longest - c.checksumBytes, 'x'), "\r\n"));
    EXPECT_EQ(tooLong.failures, 1);
    EXPECT_TRUE(tooLong.sentences.empty());
}

TEST_P(TextFramer, RejectsOverlongSentenceAtTheNextByteAndResumesIdle) {
    // The longest number of bytes without a line end: the next byte is one too
    // many and is lost; the rest of that text is skipped until the next start.
    const STextFramer& c = GetParam();
    const std::string overlong = std::string(1, c.start) + std::string(c.longest - 1, 'y');
    for (size_t chunk : {0, 1, 100}) {
        const SDrained drained =
            FrameAll(c, overlong + "z,tail*12345678\r\n" + c.sentence(c.textB, "\r\n"), chunk);
        EXPECT_EQ(drained.failures, 1) << "chunks of " << chunk;
        EXPECT_EQ(Texts(drained), std::vector<std::string>({DeliveredB()}))
            << "chunks of " << chunk;
    }
}

INSTANTIATE_TEST_SUITE_P(Framers, TextFramer, ::testing::Values(kNmea, kAscii),
                         [](const ::testing::TestParamInfo<STextFramer>& info) {
                             return std::string(info.param.name);
                         });

TEST(NmeaFraming, DollarAbandonsSentenceSilentlyEvenAnOverlongOne) {
    // A sentence cut short by the next "$" is no failure; only the new one counts.
    for (const std::string& cut : std::initializer_list<std::string>{
             "$G", "$", "$GPGGA,1,2,3*", "$" + std::string(1024, 'x')}) {
        const SDrained drained = FrameAll(kNmea, cut + NmeaSentence(kNmea.textB));
        EXPECT_EQ(drained.failures, 0) << cut.size();
        EXPECT_EQ(Texts(drained), std::vector<std::string>({NmeaSentence(kNmea.textB, "\r")}))
            << cut.size();
    }
}

TEST(NovatelAsciiFraming, HashInsideSentenceDoesNotRestartIt) {
    const std::string sentence = AsciiSentence("RXSTATUSA,COM1#2,0;note #3");
    const SDrained drained = FrameAll(kAscii, sentence);
    EXPECT_EQ(drained.failures, 0);
    EXPECT_EQ(Texts(drained), std::vector<std::string>({sentence.substr(0, sentence.size() - 1)}));
}

TEST(NovatelAsciiFraming, RejectsSentenceWithoutCrc) {
    const SDrained drained = FrameAll(kAscii, "#LOGA,COM1;OK\r\n#\r\n#*\r\n");
    EXPECT_EQ(drained.failures, 3);
    EXPECT_TRUE(drained.sentences.empty());
}

// Figures for the recordings: lines that start with "$" or "#" (grep -c, after
// turning CR into LF), confirmed by a Python model of these framing rules that
// found no checksum failure.
struct STextRecording {
    const STextFramer* framer;
    const char* file;
    size_t sentences;
    char lineEnd;  // 0: CR or LF
};

void PrintTo(const STextRecording& c, std::ostream* out) { *out << c.file; }

class TextRecording : public ::testing::TestWithParam<STextRecording> {};

TEST_P(TextRecording, YieldsEverySentenceOfItsKindWithNoFailure) {
    const STextRecording& c = GetParam();
    QUILLOND_REQUIRE_CAPTURE(path, c.file);
    const ByteVector stream = ReadCapture(path);
    for (size_t chunk : {0, 1, 512}) {
        auto framer = c.framer->make();
        const SDrained drained = Feed(*framer, stream, chunk);
        EXPECT_EQ(drained.sentences.size(), c.sentences) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, 0) << "chunks of " << chunk;
        for (const ByteVector& sentence : drained.sentences) {
            ASSERT_EQ(sentence.front(), c.framer->start);
            if (c.lineEnd != 0) {
                ASSERT_EQ(sentence.back(), c.lineEnd);
            } else {
                ASSERT_TRUE(sentence.back() == '\r' || sentence.back() == '\n');
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Recordings, TextRecording,
                         ::testing::Values(
                             // LF line ends.
                             STextRecording{&kNmea, "nmea-sample.txt", 24, '\n'},
                             // GPGGA and GPRMC among BESTPOSA and TIMEA, CR LF line ends.
                             STextRecording{&kNmea, "udp-ascii-nmea-mix.txt", 80, '\r'},
                             STextRecording{&kAscii, "udp-ascii-nmea-mix.txt", 42, 0},
                             // Abbreviated ASCII ("<" lines) only: nothing for either framer.
                             STextRecording{&kNmea, "oem7-rxconfig-abbrev-ascii.txt", 0, '\r'},
                             STextRecording{&kAscii, "oem7-rxconfig-abbrev-ascii.txt", 0, 0},
                             // The receiver's ASCII rendering of one log of each kind.
                             STextRecording{&kAscii, "oemv3-OneEach.asc", 15, 0}),
                         [](const ::testing::TestParamInfo<STextRecording>& info) {
                             return std::string(info.param.framer->name) + "_" +
                                    RecordingTestName(info.param.file);
                         });

}  // namespace
