#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryGeodeticLog.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// Degrees to radians: every consumer works in radians, so the conversion is
// made once, here.
const double kRadiansPerDegree = 0.017453292519943295;

// The geodetic solution body, in frame order (body offsets).
const size_t kSolutionStatusOffset = 0;   // U32, receiver enumeration
const size_t kPositionTypeOffset = 4;     // U32, receiver enumeration
const size_t kLatitudeOffset = 8;         // F64, degrees
const size_t kLongitudeOffset = 16;       // F64, degrees
const size_t kHeightOffset = 24;          // F64, metres above mean sea level
const size_t kUndulationOffset = 32;      // F32, metres
const size_t kDatumIDOffset = 36;         // U32
const size_t kSigmaLatitudeOffset = 40;   // F32, metres
const size_t kSigmaLongitudeOffset = 44;  // F32, metres
const size_t kSigmaHeightOffset = 48;     // F32, metres
const size_t kBaseStationIDOffset = 52;   // 4 characters, no terminator
const size_t kBaseStationIDSize = 4;
const size_t kDifferentialAgeOffset = 56;         // F32, seconds
const size_t kSolutionAgeOffset = 60;             // F32, seconds
const size_t kSatellitesTrackedOffset = 64;       // U8
const size_t kSatellitesUsedOffset = 65;          // U8
const size_t kL1SatellitesUsedOffset = 66;        // U8
const size_t kMultiFrequencyUsedOffset = 67;      // U8
const size_t kReservedByte68Offset = 68;          // U8
const size_t kExtendedSolutionStatusOffset = 69;  // U8
const size_t kReservedByte70Offset = 70;          // U8
const size_t kSignalMaskOffset = 71;              // U8

}  // namespace

CNovatelBinaryGeodeticLog::CNovatelBinaryGeodeticLog(const ByteVector& frame)
    : CNovatelBinaryRecord(frame) {
    CNovatelBinaryGeodeticLog::ParseSentenceData(frame);
}

CNovatelBinaryGeodeticLog::~CNovatelBinaryGeodeticLog() = default;

void CNovatelBinaryGeodeticLog::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_solutionStatus = ReadUInt32(sentenceData, body + kSolutionStatusOffset);
    m_positionType = ReadUInt32(sentenceData, body + kPositionTypeOffset);
    m_latitude = ReadDouble(sentenceData, body + kLatitudeOffset) * kRadiansPerDegree;
    m_longitude = ReadDouble(sentenceData, body + kLongitudeOffset) * kRadiansPerDegree;
    m_height = ReadDouble(sentenceData, body + kHeightOffset);
    m_undulation = ReadFloat(sentenceData, body + kUndulationOffset);
    m_datumID = ReadUInt32(sentenceData, body + kDatumIDOffset);
    m_sigmaLatitude = ReadFloat(sentenceData, body + kSigmaLatitudeOffset);
    m_sigmaLongitude = ReadFloat(sentenceData, body + kSigmaLongitudeOffset);
    m_sigmaHeight = ReadFloat(sentenceData, body + kSigmaHeightOffset);
    m_baseStationID =
        ExtractText(sentenceData, body + kBaseStationIDOffset, kBaseStationIDSize, false);
    m_differentialAge = ReadFloat(sentenceData, body + kDifferentialAgeOffset);
    m_solutionAge = ReadFloat(sentenceData, body + kSolutionAgeOffset);
    m_satellitesTracked = ReadUInt8(sentenceData, body + kSatellitesTrackedOffset);
    m_satellitesUsed = ReadUInt8(sentenceData, body + kSatellitesUsedOffset);
    m_l1SatellitesUsed = ReadUInt8(sentenceData, body + kL1SatellitesUsedOffset);
    m_multiFrequencySatellitesUsed = ReadUInt8(sentenceData, body + kMultiFrequencyUsedOffset);
    m_reservedByte68 = ReadUInt8(sentenceData, body + kReservedByte68Offset);
    m_extendedSolutionStatus = ReadUInt8(sentenceData, body + kExtendedSolutionStatusOffset);
    m_reservedByte70 = ReadUInt8(sentenceData, body + kReservedByte70Offset);
    m_signalMask = ReadUInt8(sentenceData, body + kSignalMaskOffset);
}

}  // namespace Novatel
