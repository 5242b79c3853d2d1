#pragma once
// Reading NovAtel binary frames: the receiver's CRC-32 and the readers for the
// little-endian fields of a frame. The receiver sends every multi-byte field
// least significant byte first, so fields are assembled byte by byte and read
// the same on the big-endian device as on a development host.
//
// Offsets count from the frame's first sync byte. A reader never fails and
// never touches a byte outside the frame: a field that does not lie wholly
// inside it reads as 0. Records check the frame length before they read, so the
// zero rule only guards against malformed input.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/Core/ByteVector.h"

// The trailing CRC-32 of a binary frame, in bytes.
const size_t kNovatelCrcSize = 4;

// One byte's worth of the reflected CRC-32 (polynomial 0xEDB88320): eight
// shifts, folding in the polynomial whenever the bit shifted out is set.
uint32_t Crc32Byte(uint32_t value);

// The NovAtel CRC-32 of length bytes: register starting at 0, no final
// inversion (so not zlib's CRC-32). No bytes give 0.
uint32_t Crc32Block(size_t length, const uint8_t* bytes);

// True when the frame's last four bytes hold the CRC-32 of everything before
// them. A frame shorter than four bytes has no CRC and fails.
bool HasValidCrc(const ByteVector& frame);

// True when `size` bytes starting at offset lie inside a frame of frameSize
// bytes; written so that no sum can wrap, whatever the width of size_t.
inline bool FieldFits(size_t frameSize, size_t offset, size_t size) {
    return size <= frameSize && offset <= frameSize - size;
}

// The byte at offset, or 0.
inline uint8_t ReadUInt8(const ByteVector& frame, size_t offset) {
    return FieldFits(frame.size(), offset, 1) ? frame[offset] : 0;
}

// The little-endian 16-bit field at offset, or 0.
inline uint16_t ReadUInt16(const ByteVector& frame, size_t offset) {
    if (!FieldFits(frame.size(), offset, 2)) return 0;
    return static_cast<uint16_t>(frame[offset] | (frame[offset + 1] << 8));
}

// The little-endian 32-bit field at offset, or 0.
inline uint32_t ReadUInt32(const ByteVector& frame, size_t offset) {
    if (!FieldFits(frame.size(), offset, 4)) return 0;
    return static_cast<uint32_t>(frame[offset]) | (static_cast<uint32_t>(frame[offset + 1]) << 8) |
           (static_cast<uint32_t>(frame[offset + 2]) << 16) |
           (static_cast<uint32_t>(frame[offset + 3]) << 24);
}

// The IEEE-754 single at offset, widened to double; 0 past the end.
inline double ReadFloat(const ByteVector& frame, size_t offset) {
    const uint32_t bits = ReadUInt32(frame, offset);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The IEEE-754 double at offset: low 32 bits first. A half that lies past the
// end contributes zero bits.
inline double ReadDouble(const ByteVector& frame, size_t offset) {
    const uint64_t low = ReadUInt32(frame, offset);
    const uint64_t high = offset <= SIZE_MAX - 4 ? ReadUInt32(frame, offset + 4) : 0;
    const uint64_t bits = (high << 32) | low;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The CRC the frame carries in its last four bytes, or 0 for a shorter frame.
inline uint32_t ReadTrailingCrc(const ByteVector& frame) {
    return frame.size() < kNovatelCrcSize ? 0 : ReadUInt32(frame, frame.size() - kNovatelCrcSize);
}

// The length bytes at offset as a string, with one NUL appended when
// addTerminator is set; the empty string when length is 0 or the bytes do not
// lie wholly inside the frame. Binary records take fixed-width text fields with
// it (without the terminator).
std::string ExtractText(const ByteVector& frame, size_t offset, size_t length, bool addTerminator);
