#include "tools/common/NovatelFrameBuilder.h"

#include <cstring>

namespace Tools {

namespace {

const size_t kHeaderLength = 28;

void PutLittleEndian(ByteVector& bytes, uint64_t value, int size) {
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

uint32_t NovatelCrc32(const uint8_t* data, size_t length) {
    uint32_t crc = 0;
    for (size_t i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
}

CBodyWriter& CBodyWriter::U8(uint8_t value) {
    m_bytes.push_back(value);
    return *this;
}

CBodyWriter& CBodyWriter::U16(uint16_t value) {
    PutLittleEndian(m_bytes, value, 2);
    return *this;
}

CBodyWriter& CBodyWriter::U32(uint32_t value) {
    PutLittleEndian(m_bytes, value, 4);
    return *this;
}

CBodyWriter& CBodyWriter::F32(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return U32(bits);
}

CBodyWriter& CBodyWriter::F64(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    PutLittleEndian(m_bytes, bits, 8);
    return *this;
}

CBodyWriter& CBodyWriter::Text(const std::string& text, size_t size) {
    for (size_t i = 0; i < size; ++i)
        m_bytes.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : 0);
    return *this;
}

ByteVector BuildBinaryFrame(const SFrameHeader& header, const ByteVector& body) {
    ByteVector frame = {0xAA, 0x44, 0x12, static_cast<uint8_t>(kHeaderLength)};
    PutLittleEndian(frame, header.messageId, 2);
    frame.push_back(header.messageType);
    frame.push_back(header.portAddress);
    PutLittleEndian(frame, body.size(), 2);
    PutLittleEndian(frame, header.sequence, 2);
    frame.push_back(header.idleTime);
    frame.push_back(header.timeStatus);
    PutLittleEndian(frame, header.week, 2);
    PutLittleEndian(frame, header.milliseconds, 4);
    PutLittleEndian(frame, header.receiverStatus, 4);
    PutLittleEndian(frame, 0, 2);  // reserved
    PutLittleEndian(frame, header.softwareVersion, 2);
    frame.insert(frame.end(), body.begin(), body.end());
    PutLittleEndian(frame, NovatelCrc32(frame.data(), frame.size()), 4);
    return frame;
}

}  // namespace Tools
