#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTATB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The LBANDSTAT body, in frame order (body offsets).
const size_t kFrequencyOffset = 0;            // U32, Hz
const size_t kCNROffset = 4;                  // F32, dB-Hz
const size_t kLockTimeOffset = 8;             // F32, seconds
const size_t kReservedAt12Offset = 12;        // F32
const size_t kSignalTrackingOffset = 16;      // U16, tracking word
const size_t kVBSStatusOffset = 18;           // U16, VBS status word
const size_t kBytesOffset = 20;               // U32
const size_t kGoodDGPSOffset = 24;            // U32
const size_t kBadDataOffset = 28;             // U32
const size_t kReservedAt32Offset = 32;        // U16
const size_t kHPAdditionalStatusOffset = 34;  // U16, HP additional status word
const size_t kHPBytesOffset = 36;             // U32
const size_t kHPStatusOffset = 40;            // U32, HP status word
const size_t kReservedAt44Offset = 44;        // U32

}  // namespace

CNovatelLBANDSTATB::CNovatelLBANDSTATB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelLBANDSTATB::ParseSentenceData(frame);
}

CNovatelLBANDSTATB::~CNovatelLBANDSTATB() = default;

void CNovatelLBANDSTATB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_frequency = ReadUInt32(sentenceData, body + kFrequencyOffset);
    m_cnr = static_cast<float>(ReadFloat(sentenceData, body + kCNROffset));
    m_lockTime = static_cast<float>(ReadFloat(sentenceData, body + kLockTimeOffset));
    m_reservedAt12 = static_cast<float>(ReadFloat(sentenceData, body + kReservedAt12Offset));
    m_signalTracking.Decode(ReadUInt16(sentenceData, body + kSignalTrackingOffset));
    m_vbsStatus.Decode(ReadUInt16(sentenceData, body + kVBSStatusOffset));
    m_bytes = ReadUInt32(sentenceData, body + kBytesOffset);
    m_goodDGPS = ReadUInt32(sentenceData, body + kGoodDGPSOffset);
    m_badData = ReadUInt32(sentenceData, body + kBadDataOffset);
    m_reservedAt32 = ReadUInt16(sentenceData, body + kReservedAt32Offset);
    m_hpAdditionalStatus.Decode(ReadUInt16(sentenceData, body + kHPAdditionalStatusOffset));
    m_hpBytes = ReadUInt32(sentenceData, body + kHPBytesOffset);
    m_hpStatus.Decode(ReadUInt32(sentenceData, body + kHPStatusOffset));
    m_reservedAt44 = ReadUInt32(sentenceData, body + kReservedAt44Offset);
}

}  // namespace Novatel
