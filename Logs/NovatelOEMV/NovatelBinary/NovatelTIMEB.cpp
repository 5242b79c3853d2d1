#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIMEB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The TIME body, in frame order (body offsets).
const size_t kClockModelStatusOffset = 0;    // unsigned 32, enumeration
const size_t kClockOffsetOffset = 4;         // F64, seconds
const size_t kClockOffsetStdDevOffset = 12;  // F64, seconds
const size_t kUtcOffsetOffset = 20;          // F64, seconds
const size_t kUtcYearOffset = 28;            // unsigned 32
const size_t kUtcMonthOffset = 32;           // unsigned 8
const size_t kUtcDayOffset = 33;             // unsigned 8
const size_t kUtcHourOffset = 34;            // unsigned 8
const size_t kUtcMinuteOffset = 35;          // unsigned 8
const size_t kUtcMillisecondsOffset = 36;    // unsigned 32
const size_t kUtcStatusOffset = 40;          // unsigned 32, enumeration

}  // namespace

CNovatelTIMEB::CNovatelTIMEB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelTIMEB::ParseSentenceData(frame);
}

CNovatelTIMEB::~CNovatelTIMEB() = default;

void CNovatelTIMEB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_clockModelStatus = ReadUInt32(sentenceData, body + kClockModelStatusOffset);
    m_clockOffset = ReadDouble(sentenceData, body + kClockOffsetOffset);
    m_clockOffsetStdDev = ReadDouble(sentenceData, body + kClockOffsetStdDevOffset);
    m_utcOffset = ReadDouble(sentenceData, body + kUtcOffsetOffset);
    m_utcYear = ReadUInt32(sentenceData, body + kUtcYearOffset);
    m_utcMonth = ReadUInt8(sentenceData, body + kUtcMonthOffset);
    m_utcDay = ReadUInt8(sentenceData, body + kUtcDayOffset);
    m_utcHour = ReadUInt8(sentenceData, body + kUtcHourOffset);
    m_utcMinute = ReadUInt8(sentenceData, body + kUtcMinuteOffset);
    m_utcMilliseconds = ReadUInt32(sentenceData, body + kUtcMillisecondsOffset);
    m_utcStatus = ReadUInt32(sentenceData, body + kUtcStatusOffset);
}

}  // namespace Novatel
