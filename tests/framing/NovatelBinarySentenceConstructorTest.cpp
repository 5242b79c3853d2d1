// The NovAtel binary framer: sync search, lengths taken from the header, the
// two sync quirks, CRC rejection, and the real recordings.

#include <gtest/gtest.h>

#include <ostream>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;
using Novatel::CNovatelBinarySentenceConstructor;

namespace {

SDrained FrameAll(const ByteVector& stream, size_t chunkSize = 0) {
    CNovatelBinarySentenceConstructor framer;
    return Feed(framer, stream, chunkSize);
}

// Every frame here avoids the byte 0xAA in header, body and CRC, so no sync
// pattern can hide inside it and the counts below are exact.
ByteVector SyncFreeFrame(uint16_t messageId, size_t bodySize) {
    for (uint8_t first = 1;; ++first) {
        ByteVector frame = BinaryFrame(messageId, CountingBody(bodySize, first));
        bool clean = true;
        for (size_t i = 1; i < frame.size(); ++i) clean = clean && frame[i] != 0xAA;
        if (clean) return frame;
    }
}

TEST(NovatelBinaryFraming, AcceptsFramesWithEmptyBodyOrOtherHeaderLengths) {
    for (uint8_t headerLength : {10, 12, 28, 40, 255}) {
        for (size_t bodySize : {0, 1, 300}) {
            const ByteVector frame = FrameWithHeaderLength(headerLength, CountingBody(bodySize));
            const SDrained drained = FrameAll(frame);
            ASSERT_EQ(drained.sentences.size(), 1u)
                << "header " << int(headerLength) << ", body " << bodySize;
            EXPECT_EQ(drained.sentences[0], frame);
        }
    }
}

TEST(NovatelBinaryFraming, FindsFrameWhoseFirstSyncByteIsRepeated) {
    // WaitSync2 puts the second AA back, so it starts the frame.
    const ByteVector frame = SyncFreeFrame(42, 20);
    const SDrained drained = FrameAll(Join({{0xAA}, frame}));
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0], frame);
}

TEST(NovatelBinaryFraming, MissesFrameStartingWhereThirdSyncByteWasExpected) {
    // AA 44 AA 44 12 ...: WaitSync3 drops the second AA without putting it back.
    const ByteVector lost = SyncFreeFrame(42, 20);
    const ByteVector next = SyncFreeFrame(43, 24);
    const SDrained drained = FrameAll(Join({{0xAA, 0x44}, lost, next}));
    EXPECT_EQ(drained.failures, 0);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0], next);
}

TEST(NovatelBinaryFraming, WaitsForCrcByteThatArrivesInALaterChunk) {
    const ByteVector frame = BinaryFrame(42, CountingBody(40));
    CNovatelBinarySentenceConstructor framer;
    ByteVector sentence;
    framer.AddData(ByteVector(frame.begin(), frame.end() - 1));
    EXPECT_EQ(framer.GetSentence(sentence), 0);
    EXPECT_EQ(framer.GetSentence(sentence), 0);
    framer.AddData({frame.back()});
    EXPECT_EQ(framer.GetSentence(sentence), 1);
    EXPECT_EQ(sentence, frame);
}

TEST(NovatelBinaryFraming, RejectsFrameWhenCrcIsWrongAndDeliversTheNextOne) {
    const ByteVector good = SyncFreeFrame(42, 64);
    // A flipped bit anywhere after the sync bytes, the CRC itself included.
    for (size_t at = 3; at < good.size(); ++at) {
        ByteVector bad = good;
        bad[at] ^= 0x10;
        if (at == 3 || at == 8 || at == 9) continue;  // length fields: covered below
        const SDrained drained = FrameAll(Join({bad, good}));
        EXPECT_EQ(drained.failures, 1) << "corrupted byte " << at;
        ASSERT_EQ(drained.sentences.size(), 1u) << "corrupted byte " << at;
        EXPECT_EQ(drained.sentences[0], good);
    }
}

TEST(NovatelBinaryFraming, HeaderClaimingLessThanTenBytesIsCheckedAfterEleven) {
    // H = 0 and M = 0 claim a 4-byte frame; the framer has already taken ten
    // bytes by then, takes one more and lets the CRC reject the candidate.
    const ByteVector shortHeader = {0xAA, 0x44, 0x12, 0x00, 1, 2, 3, 4, 0x00, 0x00, 0x77};
    const ByteVector next = SyncFreeFrame(42, 8);
    const SDrained drained = FrameAll(Join({shortHeader, next}));
    EXPECT_EQ(drained.failures, 1);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0], next);
}

TEST(NovatelBinaryFraming, TruncatedFrameSwallowsTheStartOfTheNextFrame) {
    // There is no resynchronisation inside a candidate: the frame cut short takes
    // its missing bytes from the next frame, fails, and the next frame is lost.
    const ByteVector first = SyncFreeFrame(42, 30);
    const ByteVector second = SyncFreeFrame(43, 30);
    const ByteVector third = SyncFreeFrame(44, 30);
    const ByteVector truncated(first.begin(), first.end() - 5);
    const SDrained drained = FrameAll(Join({truncated, second, third}));
    EXPECT_EQ(drained.failures, 1);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0], third);
}

TEST(NovatelBinaryFraming, CorruptLengthHasNoUpperLimitAndResumesAfterTheClaimedEnd) {
    // A header claiming 255 + 65535 bytes swallows every frame inside that span;
    // scanning resumes with the byte after it.
    ByteVector corrupt = SyncFreeFrame(42, 16);
    corrupt[3] = 0xFF;
    corrupt[8] = 0xFF;
    corrupt[9] = 0xFF;
    const size_t claimed = 255 + 65535 + 4;
    const ByteVector inside = SyncFreeFrame(43, 100);
    ByteVector stream = corrupt;
    while (stream.size() + inside.size() <= claimed)
        stream.insert(stream.end(), inside.begin(), inside.end());
    stream.resize(claimed, 0x00);
    const ByteVector after = SyncFreeFrame(44, 10);
    stream.insert(stream.end(), after.begin(), after.end());
    const SDrained drained = FrameAll(stream, 1024);
    EXPECT_EQ(drained.failures, 1);
    ASSERT_EQ(drained.sentences.size(), 1u);
    EXPECT_EQ(drained.sentences[0], after);
}

// Figures for the recordings were obtained by running, once by hand, a short
// Python model of these framing rules over each file (sync AA 44 12, length
// H + M + 4 from the header, CRC-32 via binascii.crc32(data, 0xFFFFFFFF) ^
// 0xFFFFFFFF, WaitSync2 re-examining and WaitSync3 dropping its byte, no search
// inside a rejected candidate).
struct SRecording {
    const char* file;
    size_t frames;
    int failures;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const SRecording& c, std::ostream* out) { *out << c.file; }

class BinaryRecording : public ::testing::TestWithParam<SRecording> {};

TEST_P(BinaryRecording, YieldsTheIndependentlyCountedFramesWhateverTheChunkSize) {
    QUILLOND_REQUIRE_CAPTURE(path, GetParam().file);
    const ByteVector stream = ReadCapture(path);
    for (size_t chunk : {0, 1, 13, 1024}) {
        const SDrained drained = FrameAll(stream, chunk);
        EXPECT_EQ(drained.sentences.size(), GetParam().frames) << "chunks of " << chunk;
        EXPECT_EQ(drained.failures, GetParam().failures) << "chunks of " << chunk;
        for (const ByteVector& frame : drained.sentences) {
            ASSERT_TRUE(HasValidCrc(frame));
            ASSERT_EQ(frame.size(), ReadUInt8(frame, 3) + ReadUInt16(frame, 8) + 4u);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, BinaryRecording,
    ::testing::Values(
        // A plain scan for sync plus matching CRC finds the same 8 frames.
        SRecording{"oemv3-OneEach.gps", 8, 0},
        // A plain scan finds 647 frames: the other 75 lie inside the candidate at byte
        // 37579, whose CR LF-damaged header claims a 10,272-byte body that the framer
        // collects in full before rejecting it (the second failure is at byte 73118).
        SRecording{"mixed-alllogs-repaired.gps", 572, 2},
        // The newline conversion broke frames: 85 candidates fail their CRC.
        SRecording{"mixed-alllogs-crlf-damaged.gps", 489, 85},
        // Frames of up to 4,980 bytes; a plain scan agrees.
        SRecording{"oem729-qlnav.gps", 117, 0},
        // Text only: no binary frame and no failure.
        SRecording{"udp-ascii-nmea-mix.txt", 0, 0}),
    [](const ::testing::TestParamInfo<SRecording>& info) {
        return RecordingTestName(info.param.file);
    });

}  // namespace
