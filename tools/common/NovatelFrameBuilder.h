#pragma once
// Builds NovAtel binary frames (28-byte header, body, CRC-32) for the tools
// that generate receiver traffic and for tests.

#include <cstdint>
#include <string>

#include "platform/Core/ByteVector.h"

namespace Tools {

// NovAtel CRC-32: reflected polynomial 0xEDB88320, initial value 0, no final inversion.
uint32_t NovatelCrc32(const uint8_t* data, size_t length);

// A little-endian body, written field by field in frame order.
class CBodyWriter {
public:
    CBodyWriter& U8(uint8_t value);
    CBodyWriter& U16(uint16_t value);
    CBodyWriter& U32(uint32_t value);
    CBodyWriter& I32(int32_t value) { return U32(static_cast<uint32_t>(value)); }
    CBodyWriter& F32(float value);
    CBodyWriter& F64(double value);
    // Text padded with NULs (or cut) to exactly size bytes.
    CBodyWriter& Text(const std::string& text, size_t size);

    const ByteVector& Bytes() const { return m_bytes; }

private:
    ByteVector m_bytes;
};

struct SFrameHeader {
    uint16_t messageId = 0;
    uint8_t messageType = 0;     // 0 binary log; 0x80 marks a command response
    uint8_t portAddress = 0x20;  // COM1
    uint16_t sequence = 0;
    uint8_t idleTime = 100;    // half-percent units
    uint8_t timeStatus = 180;  // FINESTEERING
    uint16_t week = 0;
    uint32_t milliseconds = 0;
    uint32_t receiverStatus = 0;
    uint16_t softwareVersion = 0;
};

// The whole frame: sync, header, body and the CRC over both.
ByteVector BuildBinaryFrame(const SFrameHeader& header, const ByteVector& body);

}  // namespace Tools
