#pragma once
// Points and spans of time with microsecond resolution.
//
// Core::Time is the wall clock (CLOCK_REALTIME) and also serves as a plain
// duration, such as a read timeout, where a negative value means "no limit".
// Core::MonotonicTime follows CLOCK_MONOTONIC and is what timers use, so a
// clock step on the device never fires or stalls them.

#include <sys/time.h>

#include <cstdint>

namespace Core {

// GPS time runs ahead of UTC by the leap seconds inserted since 1980-01-06.
const int GPS_LEAP_SECONDS = 18;
// 1980-01-06 00:00:00 UTC, the start of GPS week 0, as Unix time.
const int64_t GPS_EPOCH_UNIX_SECONDS = 315964800;

class Time {
public:
    Time() : m_microseconds(0) {}

    static Time Now();
    static Time FromSeconds(double seconds);
    static Time FromMilliseconds(int64_t milliseconds);
    static Time FromMicroseconds(int64_t microseconds) { return Time(microseconds); }

    double Seconds() const { return static_cast<double>(m_microseconds) / 1e6; }
    // As a point in time: seconds since the Unix epoch.
    double AsDouble() const { return Seconds(); }
    // As a point in time: GPS week and seconds of week.
    void AsGPSTime(unsigned& week, double& secondsOfWeek) const;
    int64_t Milliseconds() const { return m_microseconds / 1000; }
    int64_t Microseconds() const { return m_microseconds; }
    bool IsNegative() const { return m_microseconds < 0; }
    // For select(): a negative span gives a zero timeval.
    struct timeval ToTimeval() const;

    // True once the wall clock has reached this point.
    bool HasExpired() const { return Now().m_microseconds >= m_microseconds; }

    Time operator+(Time other) const { return Time(m_microseconds + other.m_microseconds); }
    Time operator-(Time other) const { return Time(m_microseconds - other.m_microseconds); }
    bool operator<(Time other) const { return m_microseconds < other.m_microseconds; }
    bool operator>(Time other) const { return m_microseconds > other.m_microseconds; }
    bool operator<=(Time other) const { return m_microseconds <= other.m_microseconds; }
    bool operator>=(Time other) const { return m_microseconds >= other.m_microseconds; }
    bool operator==(Time other) const { return m_microseconds == other.m_microseconds; }
    bool operator!=(Time other) const { return m_microseconds != other.m_microseconds; }

private:
    explicit Time(int64_t microseconds) : m_microseconds(microseconds) {}
    int64_t m_microseconds;
};

class MonotonicTime {
public:
    MonotonicTime() : m_microseconds(0) {}

    static MonotonicTime Now();

    double Seconds() const { return static_cast<double>(m_microseconds) / 1e6; }
    // True once the monotonic clock has reached this point; a default-constructed
    // timer has always expired.
    bool HasExpired() const { return Now().m_microseconds >= m_microseconds; }
    // Span from this point to now (negative while it lies in the future).
    Time Elapsed() const { return Time::FromMicroseconds(Now().m_microseconds - m_microseconds); }

    MonotonicTime operator+(Time span) const {
        return MonotonicTime(m_microseconds + span.Microseconds());
    }
    Time operator-(MonotonicTime other) const {
        return Time::FromMicroseconds(m_microseconds - other.m_microseconds);
    }
    bool operator<(MonotonicTime other) const { return m_microseconds < other.m_microseconds; }
    bool operator>=(MonotonicTime other) const { return m_microseconds >= other.m_microseconds; }

private:
    explicit MonotonicTime(int64_t microseconds) : m_microseconds(microseconds) {}
    int64_t m_microseconds;
};

}  // namespace Core
