#include "platform/Core/Time.h"

#include <time.h>

#include <cmath>

namespace Core {

namespace {

int64_t ReadClock(clockid_t clock) {
    struct timespec now;
    ::clock_gettime(clock, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

}  // namespace

Time Time::Now() { return Time(ReadClock(CLOCK_REALTIME)); }

Time Time::FromSeconds(double seconds) {
    return Time(static_cast<int64_t>(std::llround(seconds * 1e6)));
}

Time Time::FromMilliseconds(int64_t milliseconds) { return Time(milliseconds * 1000); }

void Time::AsGPSTime(unsigned& week, double& secondsOfWeek) const {
    const int64_t microsecondsPerWeek = static_cast<int64_t>(604800) * 1000000;
    int64_t sinceGpsEpoch = m_microseconds + (GPS_LEAP_SECONDS - GPS_EPOCH_UNIX_SECONDS) *
                                                 static_cast<int64_t>(1000000);
    if (sinceGpsEpoch < 0) sinceGpsEpoch = 0;
    week = static_cast<unsigned>(sinceGpsEpoch / microsecondsPerWeek);
    secondsOfWeek = static_cast<double>(sinceGpsEpoch % microsecondsPerWeek) / 1e6;
}

struct timeval Time::ToTimeval() const {
    struct timeval value;
    if (m_microseconds <= 0) {
        value.tv_sec = 0;
        value.tv_usec = 0;
    } else {
        value.tv_sec = static_cast<time_t>(m_microseconds / 1000000);
        value.tv_usec = static_cast<suseconds_t>(m_microseconds % 1000000);
    }
    return value;
}

MonotonicTime MonotonicTime::Now() { return MonotonicTime(ReadClock(CLOCK_MONOTONIC)); }

}  // namespace Core
