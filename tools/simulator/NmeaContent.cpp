// The NMEA logs of the simulated receiver (GPGSV, GPGSA, GPZDA, GPGST, GPGGA)
// and the GPS to UTC conversion they and the TIME log share.

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "platform/Core/Maths.h"
#include "tools/simulator/LogContent.h"

namespace Simulator {

namespace {

const int kLeapSeconds = 18;
const int kGpsEpochDaysAfter1970 = 3657;  // 1980-01-06
const int kSbasNmeaOffset = 87;           // SBAS PRN 120 is NMEA satellite 33

std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string UtcTimeField(const SUtc& utc) {
    return Printf("%02d%02d%05.2f", utc.hour, utc.minute, utc.second);
}

std::string DegreesMinutes(double degrees, int width) {
    const double whole = std::floor(std::fabs(degrees));
    const double minutes = (std::fabs(degrees) - whole) * 60.0;
    return Printf("%0*d%010.7f", width, static_cast<int>(whole), minutes);
}

std::string Gsv(const SSnapshot& snapshot) {
    std::vector<const SSatelliteView*> views;
    for (const STrackedSatellite& s : snapshot.tracked)
        if (s.view.system != kGLONASS) views.push_back(&s.view);
    const size_t messages = views.empty() ? 1 : (views.size() + 3) / 4;
    std::string sentences;
    for (size_t m = 0; m < messages; ++m) {
        std::string body = Printf("GPGSV,%zu,%zu,%02zu", messages, m + 1, views.size());
        for (size_t i = m * 4; i < views.size() && i < m * 4 + 4; ++i) {
            const SSatelliteView& v = *views[i];
            const int prn = v.system == kSBAS ? v.prn - kSbasNmeaOffset : v.prn;
            body += Printf(",%02d,%02d,%03d,%02d", prn,
                           static_cast<int>(std::lround(v.elevationDegrees)),
                           static_cast<int>(std::lround(v.azimuthDegrees)) % 360,
                           static_cast<int>(std::lround(v.carrierToNoise)));
        }
        sentences += BuildNmeaSentence(body);
    }
    return sentences;
}

std::string Gsa(const SSnapshot& snapshot) {
    std::vector<SSatelliteView> used;
    std::string body = "GPGSA,M,3";
    int fields = 0;
    for (const STrackedSatellite& s : snapshot.tracked) {
        if (s.view.system != kGPS) continue;
        used.push_back(s.view);
        if (fields < 12) {
            body += Printf(",%02d", s.view.prn);
            ++fields;
        }
    }
    for (; fields < 12; ++fields) body += ",";
    const SDilution dop = CScenario::Dilution(used);
    body += Printf(",%.1f,%.1f,%.1f", dop.pdop, dop.hdop, dop.vdop);
    return BuildNmeaSentence(body);
}

std::string Zda(const SUtc& utc) {
    return BuildNmeaSentence(Printf("GPZDA,%s,%02d,%02d,%04d,,", UtcTimeField(utc).c_str(), utc.day,
                                    utc.month, utc.year));
}

std::string Gst(const SUtc& utc, const SSnapshot& snapshot) {
    const double rms = 0.35 + 0.05 * std::sin(snapshot.elapsed);
    return BuildNmeaSentence(Printf("GPGST,%s,%.2f,%.2f,%.2f,%.4f,%.3f,%.3f,%.3f",
                                    UtcTimeField(utc).c_str(), rms, 0.52, 0.41, 12.3457, 0.45, 0.36,
                                    0.72));
}

std::string Gga(const SUtc& utc, const SSnapshot& snapshot) {
    const SEpochGeometry& g = snapshot.geometry;
    unsigned used = 0;
    for (const STrackedSatellite& s : snapshot.tracked) used += s.view.system == kGPS ? 1 : 0;
    return BuildNmeaSentence(
        Printf("GPGGA,%s,%s,%c,%s,%c,1,%02u,1.0,%.3f,M,47.000,M,,", UtcTimeField(utc).c_str(),
               DegreesMinutes(g.latitudeDegrees, 2).c_str(), g.latitudeDegrees < 0 ? 'S' : 'N',
               DegreesMinutes(g.longitudeDegrees, 3).c_str(), g.longitudeDegrees < 0 ? 'W' : 'E',
               used, g.heightMetres - 47.0));
}

}  // namespace

SUtc UtcOf(uint16_t week, uint32_t milliseconds) {
    // Whole milliseconds since the GPS epoch, less the leap seconds.
    const int64_t total = static_cast<int64_t>(week) * Core::Maths::SECONDS_PER_WEEK * 1000 +
                          milliseconds - static_cast<int64_t>(kLeapSeconds) * 1000;
    const int64_t millisecondsPerDay = 86400000;
    int64_t days = total / millisecondsPerDay + kGpsEpochDaysAfter1970;
    const int64_t ofDay = total % millisecondsPerDay;
    // Civil date of a day count since 1970-01-01 (proleptic Gregorian).
    days += 719468;
    const int64_t era = days / 146097;
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    SUtc utc;
    utc.day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    utc.month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    utc.year = static_cast<int>(yearOfEra + era * 400 + (utc.month <= 2 ? 1 : 0));
    utc.hour = static_cast<int>(ofDay / 3600000);
    utc.minute = static_cast<int>(ofDay / 60000 % 60);
    utc.second = static_cast<double>(ofDay % 60000) / 1000.0;
    return utc;
}

std::string BuildNmea(const std::string& base, const SSnapshot& snapshot) {
    const SUtc utc = UtcOf(snapshot.week, snapshot.milliseconds);
    if (base == "GPGSV") return Gsv(snapshot);
    if (base == "GPGSA") return Gsa(snapshot);
    if (base == "GPZDA") return Zda(utc);
    if (base == "GPGST") return Gst(utc, snapshot);
    if (base == "GPGGA") return Gga(utc, snapshot);
    return std::string();
}

}  // namespace Simulator
