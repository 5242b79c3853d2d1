#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

#include <array>

namespace {

const uint32_t kCrc32Polynomial = 0xEDB88320u;  // IEEE 802.3, bit-reflected

constexpr uint32_t ReflectedCrcOfByte(uint32_t value) {
    for (int bit = 0; bit < 8; ++bit) {
        value = (value & 1u) ? (value >> 1) ^ kCrc32Polynomial : value >> 1;
    }
    return value;
}

// kCrcTables[0][b] is the CRC register after feeding byte b into a zero
// register (Crc32Byte(b)); kCrcTables[k][b] is the same register after k
// further zero bytes. With them a block is taken eight bytes per step, each
// byte through its own table, which is several times faster than one lookup
// per byte and still independent of the host's byte order.
typedef std::array<std::array<uint32_t, 256>, 8> CrcTables;

constexpr CrcTables MakeCrcTables() {
    CrcTables tables{};
    for (uint32_t i = 0; i < 256; ++i) tables[0][i] = ReflectedCrcOfByte(i);
    for (size_t k = 1; k < tables.size(); ++k) {
        for (uint32_t i = 0; i < 256; ++i) {
            const uint32_t previous = tables[k - 1][i];
            tables[k][i] = (previous >> 8) ^ tables[0][previous & 0xFFu];
        }
    }
    return tables;
}

constexpr CrcTables kCrcTables = MakeCrcTables();

// Four bytes as a little-endian word, assembled byte by byte.
inline uint32_t LittleEndianWord(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8) |
           (static_cast<uint32_t>(bytes[2]) << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
}

}  // namespace

uint32_t Crc32Byte(uint32_t value) { return ReflectedCrcOfByte(value); }

uint32_t Crc32Block(size_t length, const uint8_t* bytes) {
    uint32_t crc = 0;
    size_t i = 0;
    for (; length - i >= 8; i += 8) {
        const uint32_t low = crc ^ LittleEndianWord(bytes + i);
        const uint32_t high = LittleEndianWord(bytes + i + 4);
        crc = kCrcTables[7][low & 0xFFu] ^ kCrcTables[6][(low >> 8) & 0xFFu] ^
              kCrcTables[5][(low >> 16) & 0xFFu] ^ kCrcTables[4][low >> 24] ^
              kCrcTables[3][high & 0xFFu] ^ kCrcTables[2][(high >> 8) & 0xFFu] ^
              kCrcTables[1][(high >> 16) & 0xFFu] ^ kCrcTables[0][high >> 24];
    }
    for (; i < length; ++i) crc = (crc >> 8) ^ kCrcTables[0][(crc ^ bytes[i]) & 0xFFu];
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
