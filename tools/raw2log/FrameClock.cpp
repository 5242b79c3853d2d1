#include "tools/raw2log/FrameClock.h"

#include "tools/common/NovatelFrameBuilder.h"

namespace Raw2Log {

namespace {

// NovAtel binary header, offsets from the first sync byte.
constexpr uint8_t kSync1 = 0xAA;
constexpr uint8_t kSync2 = 0x44;
constexpr uint8_t kSync3 = 0x12;
constexpr size_t kHeaderLengthOffset = 3;
constexpr size_t kMessageLengthOffset = 8;
constexpr size_t kWeekOffset = 14;
constexpr size_t kMillisecondsOffset = 16;
// A header must reach past the milliseconds field for its time to be read.
constexpr size_t kMinHeaderLength = kMillisecondsOffset + 4;
constexpr size_t kCrcSize = 4;

constexpr double kSecondsPerWeek = 604800.0;

uint32_t ReadLittleEndian(const uint8_t* bytes, size_t size) {
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i) value |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    return value;
}

}  // namespace

bool FindFirstFrameTime(const uint8_t* bytes, size_t size, size_t startLimit, double& gpsSeconds) {
    for (size_t start = 0; start < startLimit && start + kMinHeaderLength <= size; ++start) {
        const uint8_t* frame = bytes + start;
        if (frame[0] != kSync1 || frame[1] != kSync2 || frame[2] != kSync3) continue;
        const size_t headerLength = frame[kHeaderLengthOffset];
        if (headerLength < kMinHeaderLength) continue;
        const size_t bodyLength = ReadLittleEndian(frame + kMessageLengthOffset, 2);
        const size_t crcOffset = headerLength + bodyLength;
        if (size - start < crcOffset + kCrcSize) continue;
        if (Tools::NovatelCrc32(frame, crcOffset) !=
            ReadLittleEndian(frame + crcOffset, kCrcSize)) {
            continue;
        }
        const uint32_t week = ReadLittleEndian(frame + kWeekOffset, 2);
        const uint32_t milliseconds = ReadLittleEndian(frame + kMillisecondsOffset, 4);
        gpsSeconds = week * kSecondsPerWeek + milliseconds / 1000.0;
        return true;
    }
    return false;
}

}  // namespace Raw2Log
