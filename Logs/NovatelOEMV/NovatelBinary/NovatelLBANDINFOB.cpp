#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDINFOB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The LBANDINFO body, in frame order (body offsets).
const size_t kFrequencyOffset = 0;              // U32, kHz
const size_t kBaudRateOffset = 4;               // U32
const size_t kServiceIDOffset = 8;              // U16
const size_t kReservedOffset = 10;              // U16
const size_t kOmnistarSerialNumberOffset = 12;  // U32
const size_t kVBSSubscriptionOffset = 16;       // U32, enumeration
const size_t kVBSExpiryWeekOffset = 20;         // U32
const size_t kVBSExpirySecondsOffset = 24;      // U32
const size_t kHPSubscriptionOffset = 28;        // U32, enumeration
const size_t kHPExpiryWeekOffset = 32;          // U32
const size_t kHPExpirySecondsOffset = 36;       // U32
const size_t kHPSubscriptionModeOffset = 40;    // U32, enumeration

}  // namespace

CNovatelLBANDINFOB::CNovatelLBANDINFOB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelLBANDINFOB::ParseSentenceData(frame);
}

CNovatelLBANDINFOB::~CNovatelLBANDINFOB() = default;

void CNovatelLBANDINFOB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_frequency = ReadUInt32(sentenceData, body + kFrequencyOffset);
    m_baudRate = ReadUInt32(sentenceData, body + kBaudRateOffset);
    m_serviceID = ReadUInt16(sentenceData, body + kServiceIDOffset);
    m_reserved = ReadUInt16(sentenceData, body + kReservedOffset);
    m_omnistarSerialNumber = ReadUInt32(sentenceData, body + kOmnistarSerialNumberOffset);
    m_vbsSubscription = ReadUInt32(sentenceData, body + kVBSSubscriptionOffset);
    m_vbsExpiryWeek = ReadUInt32(sentenceData, body + kVBSExpiryWeekOffset);
    m_vbsExpirySeconds = ReadUInt32(sentenceData, body + kVBSExpirySecondsOffset);
    m_hpSubscription = ReadUInt32(sentenceData, body + kHPSubscriptionOffset);
    m_hpExpiryWeek = ReadUInt32(sentenceData, body + kHPExpiryWeekOffset);
    m_hpExpirySeconds = ReadUInt32(sentenceData, body + kHPExpirySecondsOffset);
    m_hpSubscriptionMode = ReadUInt32(sentenceData, body + kHPSubscriptionModeOffset);
}

}  // namespace Novatel
