#pragma once
// Novatel::CNovatelTIME: the receiver's TIME log, the state of its clock model
// and the UTC time of the log. The receiver status observer takes the current
// GPS week and seconds from it (the header time, GetGPSTime).

#include <cstdint>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelTIME : public virtual CNovatelRecord {
public:
    ~CNovatelTIME() override = default;

    // The clock model status (receiver enumeration, 0 valid).
    uint32_t GetClockModelStatus() const { return m_clockModelStatus; }
    // The receiver clock offset from GPS time, seconds.
    double GetClockOffset() const { return m_clockOffset; }
    // The standard deviation of the clock offset, seconds.
    double GetClockOffsetStdDev() const { return m_clockOffsetStdDev; }
    // The offset of GPS time from UTC, seconds.
    double GetUtcOffset() const { return m_utcOffset; }
    // The UTC date and time of the log.
    uint32_t GetUtcYear() const { return m_utcYear; }
    uint8_t GetUtcMonth() const { return m_utcMonth; }
    uint8_t GetUtcDay() const { return m_utcDay; }
    uint8_t GetUtcHour() const { return m_utcHour; }
    uint8_t GetUtcMinute() const { return m_utcMinute; }
    // Milliseconds into the UTC minute (seconds and their fraction).
    uint32_t GetUtcMilliseconds() const { return m_utcMilliseconds; }
    // The UTC status (receiver enumeration: invalid, valid, warning).
    uint32_t GetUtcStatus() const { return m_utcStatus; }

protected:
    uint32_t m_clockModelStatus = 0;
    double m_clockOffset = 0;
    double m_clockOffsetStdDev = 0;
    double m_utcOffset = 0;
    uint32_t m_utcYear = 0;
    uint8_t m_utcMonth = 0;
    uint8_t m_utcDay = 0;
    uint8_t m_utcHour = 0;
    uint8_t m_utcMinute = 0;
    uint32_t m_utcMilliseconds = 0;
    uint32_t m_utcStatus = 0;
};

}  // namespace Novatel
