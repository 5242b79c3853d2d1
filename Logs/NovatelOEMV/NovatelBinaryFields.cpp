#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace {

const uint32_t kCrc32Polynomial = 0xEDB88320u;  // IEEE 802.3, bit-reflected

// One bit: shift right, folding in the polynomial through a mask of the bit shifted
// out (all ones or zero) rather than a branch the processor cannot predict.
inline uint32_t Crc32Bit(uint32_t value) {
    return (value >> 1) ^ (kCrc32Polynomial & (0u - (value & 1u)));
}

// Eight bits, written out: a loop's own counting cost a quarter of the work.
inline uint32_t Crc32EightBits(uint32_t value) {
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    value = Crc32Bit(value);
    return Crc32Bit(value);
}

}  // namespace

uint32_t Crc32Byte(uint32_t value) { return Crc32EightBits(value); }

// Deliberately bit by bit, with no lookup table (the framer's cost per byte is
// measured with it: docs/performance.md). Each byte is folded into the register
// and the register stepped eight bits, which is (crc >> 8) ^ Crc32Byte((crc ^ byte)
// & 0xFF) without the call: the eight steps shift the register's upper 24 bits
// right by eight and never see them in the lowest bit.
uint32_t Crc32Block(size_t length, const uint8_t* bytes) {
    uint32_t crc = 0;
    for (size_t i = 0; i < length; ++i) crc = Crc32EightBits(crc ^ bytes[i]);
    return crc;
}

bool HasValidCrc(const ByteVector& frame) {
    if (frame.size() < kNovatelCrcSize) return false;
    return Crc32Block(frame.size() - kNovatelCrcSize, frame.data()) == ReadTrailingCrc(frame);
}

std::string ExtractText(const ByteVector& frame, size_t offset, size_t length, bool addTerminator) {
    if (length == 0 || !FieldFits(frame.size(), offset, length)) return std::string();
    std::string text(frame.begin() + static_cast<std::ptrdiff_t>(offset),
                     frame.begin() + static_cast<std::ptrdiff_t>(offset + length));
    if (addTerminator) text.push_back('\0');
    return text;
}
