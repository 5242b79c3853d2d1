#include "platform/LogFile/LogFileFormat.h"

#include <cstring>

namespace LogFileFormat {

namespace {

void PutLittleEndian(uint64_t value, size_t size, uint8_t* out) {
    for (size_t i = 0; i < size; ++i) {
        out[i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

uint64_t GetLittleEndian(const uint8_t* in, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) {
        value |= static_cast<uint64_t>(in[i]) << (8 * i);
    }
    return value;
}

}  // namespace

void EncodeRecordHeader(double timestamp, uint32_t count, uint8_t header[kRecordHeaderSize]) {
    static_assert(sizeof(double) == sizeof(uint64_t), "double must be 64 bits");
    uint64_t bits = 0;
    std::memcpy(&bits, &timestamp, sizeof bits);
    PutLittleEndian(bits, kTimestampSize, header + kTimestampOffset);
    PutLittleEndian(count, kCountSize, header + kCountOffset);
}

void DecodeRecordHeader(const uint8_t header[kRecordHeaderSize], double& timestamp,
                        uint32_t& count) {
    uint64_t bits = GetLittleEndian(header + kTimestampOffset, kTimestampSize);
    std::memcpy(&timestamp, &bits, sizeof timestamp);
    count = static_cast<uint32_t>(GetLittleEndian(header + kCountOffset, kCountSize));
}

}  // namespace LogFileFormat
