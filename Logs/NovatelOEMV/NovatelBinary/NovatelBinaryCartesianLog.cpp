#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryCartesianLog.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The Cartesian solution body, in frame order (body offsets).
const size_t kSolutionStatusOffset = 0;           // U32, receiver enumeration
const size_t kPositionTypeOffset = 4;             // U32, receiver enumeration
const size_t kXOffset = 8;                        // F64, metres
const size_t kYOffset = 16;                       // F64
const size_t kZOffset = 24;                       // F64
const size_t kSigmaXOffset = 32;                  // F32, metres
const size_t kSigmaYOffset = 36;                  // F32
const size_t kSigmaZOffset = 40;                  // F32
const size_t kVelocitySolutionStatusOffset = 44;  // U32
const size_t kVelocityTypeOffset = 48;            // U32
const size_t kVelocityXOffset = 52;               // F64, metres per second
const size_t kVelocityYOffset = 60;               // F64
const size_t kVelocityZOffset = 68;               // F64
const size_t kSigmaVelocityXOffset = 76;          // F32
const size_t kSigmaVelocityYOffset = 80;          // F32
const size_t kSigmaVelocityZOffset = 84;          // F32
const size_t kBaseStationIDOffset = 88;           // 4 characters, no terminator
const size_t kBaseStationIDSize = 4;
const size_t kVelocityLatencyOffset = 92;          // F32, seconds
const size_t kDifferentialAgeOffset = 96;          // F32, seconds
const size_t kSolutionAgeOffset = 100;             // F32, seconds
const size_t kSatellitesTrackedOffset = 104;       // U8
const size_t kSatellitesUsedOffset = 105;          // U8
const size_t kL1SatellitesUsedOffset = 106;        // U8
const size_t kMultiFrequencyUsedOffset = 107;      // U8
const size_t kReservedByte108Offset = 108;         // U8
const size_t kExtendedSolutionStatusOffset = 109;  // U8
const size_t kReservedByte110Offset = 110;         // U8
const size_t kSignalMaskOffset = 111;              // U8

}  // namespace

CNovatelBinaryCartesianLog::CNovatelBinaryCartesianLog(const ByteVector& frame)
    : CNovatelBinaryRecord(frame) {
    CNovatelBinaryCartesianLog::ParseSentenceData(frame);
}

CNovatelBinaryCartesianLog::~CNovatelBinaryCartesianLog() = default;

void CNovatelBinaryCartesianLog::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_solutionStatus = ReadUInt32(sentenceData, body + kSolutionStatusOffset);
    m_positionType = ReadUInt32(sentenceData, body + kPositionTypeOffset);
    m_x = ReadDouble(sentenceData, body + kXOffset);
    m_y = ReadDouble(sentenceData, body + kYOffset);
    m_z = ReadDouble(sentenceData, body + kZOffset);
    m_sigmaX = ReadFloat(sentenceData, body + kSigmaXOffset);
    m_sigmaY = ReadFloat(sentenceData, body + kSigmaYOffset);
    m_sigmaZ = ReadFloat(sentenceData, body + kSigmaZOffset);
    m_velocitySolutionStatus = ReadUInt32(sentenceData, body + kVelocitySolutionStatusOffset);
    m_velocityType = ReadUInt32(sentenceData, body + kVelocityTypeOffset);
    m_velocityX = ReadDouble(sentenceData, body + kVelocityXOffset);
    m_velocityY = ReadDouble(sentenceData, body + kVelocityYOffset);
    m_velocityZ = ReadDouble(sentenceData, body + kVelocityZOffset);
    m_sigmaVelocityX = ReadFloat(sentenceData, body + kSigmaVelocityXOffset);
    m_sigmaVelocityY = ReadFloat(sentenceData, body + kSigmaVelocityYOffset);
    m_sigmaVelocityZ = ReadFloat(sentenceData, body + kSigmaVelocityZOffset);
    m_baseStationID =
        ExtractText(sentenceData, body + kBaseStationIDOffset, kBaseStationIDSize, false);
    m_velocityLatency = ReadFloat(sentenceData, body + kVelocityLatencyOffset);
    m_differentialAge = ReadFloat(sentenceData, body + kDifferentialAgeOffset);
    m_solutionAge = ReadFloat(sentenceData, body + kSolutionAgeOffset);
    m_satellitesTracked = ReadUInt8(sentenceData, body + kSatellitesTrackedOffset);
    m_satellitesUsed = ReadUInt8(sentenceData, body + kSatellitesUsedOffset);
    m_l1SatellitesUsed = ReadUInt8(sentenceData, body + kL1SatellitesUsedOffset);
    m_multiFrequencySatellitesUsed = ReadUInt8(sentenceData, body + kMultiFrequencyUsedOffset);
    m_reservedByte108 = ReadUInt8(sentenceData, body + kReservedByte108Offset);
    m_extendedSolutionStatus = ReadUInt8(sentenceData, body + kExtendedSolutionStatusOffset);
    m_reservedByte110 = ReadUInt8(sentenceData, body + kReservedByte110Offset);
    m_signalMask = ReadUInt8(sentenceData, body + kSignalMaskOffset);
}

}  // namespace Novatel
