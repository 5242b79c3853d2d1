#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATIONB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The REFSTATION body, in frame order (body offsets). The words at 0 (status)
// and 28 (reserved) are not decoded.
const size_t kXOffset = 4;             // F64, metres
const size_t kYOffset = 12;            // F64, metres
const size_t kZOffset = 20;            // F64, metres
const size_t kStationTypeOffset = 32;  // unsigned 32, enumeration
const size_t kStationIDOffset = 36;    // kStationIDSize characters
const size_t kStationIDSize = 5;

}  // namespace

CNovatelREFSTATIONB::CNovatelREFSTATIONB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelREFSTATIONB::ParseSentenceData(frame);
}

CNovatelREFSTATIONB::~CNovatelREFSTATIONB() = default;

void CNovatelREFSTATIONB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_x = ReadDouble(sentenceData, body + kXOffset);
    m_y = ReadDouble(sentenceData, body + kYOffset);
    m_z = ReadDouble(sentenceData, body + kZOffset);
    m_stationType = ReadUInt32(sentenceData, body + kStationTypeOffset);
    // The ID field is not terminated when all five characters are used; the
    // text ends at the first NUL or after the fifth character.
    char stationID[kStationIDSize + 1] = {};
    for (size_t i = 0; i < kStationIDSize; ++i) {
        stationID[i] = static_cast<char>(ReadUInt8(sentenceData, body + kStationIDOffset + i));
    }
    m_stationID = stationID;
}

}  // namespace Novatel
