// The NovAtel CRC-32 and the little-endian field readers: known CRC values,
// agreement with an independent implementation, and reads that stay inside the
// frame whatever the offset.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

const size_t kMax = std::numeric_limits<size_t>::max();

TEST(NovatelCrc32, MatchesKnownValues) {
    // The register starts at 0 and is not inverted, so no bytes and a zero byte
    // both give 0. 0x77073096 is the reflected polynomial table's entry for 1;
    // the check string's value was computed with Python as
    // binascii.crc32(b"123456789", 0xFFFFFFFF) ^ 0xFFFFFFFF.
    EXPECT_EQ(Crc32Block(0, nullptr), 0u);
    const uint8_t zero = 0;
    EXPECT_EQ(Crc32Block(1, &zero), 0u);
    EXPECT_EQ(Crc32Byte(1), 0x77073096u);
    EXPECT_EQ(Crc32Byte(0x80), 0xEDB88320u);
    const ByteVector check = Bytes("123456789");
    EXPECT_EQ(Crc32Block(check.size(), check.data()), 0x2DFD2D88u);
}

TEST(NovatelCrc32, AgreesWithBitwiseImplementationOnLongBlocks) {
    ByteVector block(70000);
    uint32_t seed = 12345;
    for (uint8_t& byte : block) {
        seed = seed * 1103515245u + 12345u;
        byte = static_cast<uint8_t>(seed >> 16);
    }
    for (size_t length : {1, 3, 7, 8, 9, 15, 16, 17, 4096, 69999}) {
        EXPECT_EQ(Crc32Block(length, block.data()), Tools::NovatelCrc32(block.data(), length))
            << "length " << length;
    }
}

TEST(HasValidCrc, NeedsFourCrcBytes) {
    EXPECT_TRUE(HasValidCrc(BinaryFrame(42, CountingBody(16))));
    EXPECT_FALSE(HasValidCrc({}));
    EXPECT_FALSE(HasValidCrc({0, 0, 0}));
    // The CRC of no bytes is 0, so four zero bytes are a valid (empty) message.
    EXPECT_TRUE(HasValidCrc({0, 0, 0, 0}));
}

TEST(FieldReaders, ReadLittleEndianWhateverTheHostOrder) {
    const ByteVector frame = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0xFF};
    EXPECT_EQ(ReadUInt8(frame, 8), 0xFFu);
    EXPECT_EQ(ReadUInt16(frame, 0), 0x0201u);
    EXPECT_EQ(ReadUInt16(frame, 7), 0xFF08u);
    EXPECT_EQ(ReadUInt32(frame, 0), 0x04030201u);
    EXPECT_EQ(ReadUInt32(frame, 5), 0xFF080706u);
    EXPECT_EQ(ReadTrailingCrc(frame), 0xFF080706u);
}

TEST(FieldReaders, ReadFloatsDoublesAndSignedFields) {
    const ByteVector frame = Tools::CBodyWriter()
                                 .F32(-1.5f)
                                 .F64(-2.0e-7)
                                 .I32(-123456)
                                 .U16(0xFFFE)
                                 .F64(6378137.25)
                                 .Bytes();
    EXPECT_EQ(ReadFloat(frame, 0), -1.5);
    EXPECT_EQ(ReadDouble(frame, 4), -2.0e-7);
    EXPECT_EQ(static_cast<int32_t>(ReadUInt32(frame, 12)), -123456);
    EXPECT_EQ(static_cast<int16_t>(ReadUInt16(frame, 16)), -2);
    EXPECT_EQ(ReadDouble(frame, 18), 6378137.25);
}

TEST(FieldReaders, YieldZeroForFieldsThatDoNotLieWhollyInsideTheFrame) {
    const ByteVector frame = {0x11, 0x22, 0x33, 0x44, 0x55};
    struct {
        size_t offset;
        unsigned u8, u16, u32;
    } cases[] = {
        {4, 0x55, 0, 0},     {3, 0x44, 0x5544, 0}, {1, 0x22, 0x3322, 0x55443322},
        {5, 0, 0, 0},        {6, 0, 0, 0},         {kMax, 0, 0, 0},
        {kMax - 1, 0, 0, 0}, {kMax - 3, 0, 0, 0},  {kMax - 7, 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReadUInt8(frame, c.offset), c.u8) << "offset " << c.offset;
        EXPECT_EQ(ReadUInt16(frame, c.offset), c.u16) << "offset " << c.offset;
        EXPECT_EQ(ReadUInt32(frame, c.offset), c.u32) << "offset " << c.offset;
        if (c.u32 == 0) {
            EXPECT_EQ(ReadFloat(frame, c.offset), 0.0) << "offset " << c.offset;
        }
    }
    EXPECT_EQ(ReadUInt16(ByteVector{}, 0), 0u);
    EXPECT_EQ(ReadUInt32(ByteVector{0x01, 0x02, 0x03}, 0), 0u);
    EXPECT_EQ(ReadTrailingCrc(ByteVector{0x01, 0x02, 0x03}), 0u);
}

TEST(FieldReaders, DoubleTakesZeroBitsForTheHalfPastTheEnd) {
    const ByteVector lowHalfOnly = {0x01, 0x00, 0x00, 0x00, 0xAB};
    double expected;
    const uint64_t bits = 1;
    std::memcpy(&expected, &bits, sizeof expected);
    EXPECT_EQ(ReadDouble(lowHalfOnly, 0), expected);
    // An offset whose high half would wrap round to offset 0 must not read it there
    // (1.0 is 0x3FF00000 00000000, so a wrapped read would give 1.0).
    const ByteVector highHalfOnly = {0x00, 0x00, 0xF0, 0x3F};
    EXPECT_EQ(ReadDouble(highHalfOnly, kMax - 3), 0.0);
    for (size_t offset : {size_t(2), size_t(5), kMax, kMax - 4, kMax - 8}) {
        EXPECT_EQ(ReadDouble(lowHalfOnly, offset), 0.0) << "offset " << offset;
    }
}

TEST(ExtractText, TakesWholeFieldsInsideTheFrameOnly) {
    const ByteVector frame = Bytes(std::string("OEMV3G\0\0rest", 12));
    struct {
        size_t offset, length;
        bool terminator;
        std::string text;
    } cases[] = {
        {0, 6, false, "OEMV3G"},
        {0, 6, true, std::string("OEMV3G\0", 7)},  // the terminator adds one byte
        {8, 4, false, "rest"},
        {0, 0, true, ""},  // nothing asked for, nothing given, not even the terminator
        {9, 4, false, ""},
        {13, 1, false, ""},
        {kMax, 2, true, ""},
        {2, kMax, false, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ExtractText(frame, c.offset, c.length, c.terminator), c.text)
            << "offset " << c.offset << ", length " << c.length;
    }
}

}  // namespace
