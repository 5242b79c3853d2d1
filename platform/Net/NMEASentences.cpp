#include "platform/Net/NMEASentences.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "platform/Core/Maths.h"

namespace NMEA {

namespace {

const double kKnotsPerMetrePerSecond = 3600.0 / 1852.0;
const int64_t kCentisecondsPerDay = 8640000;
// Minutes of latitude and longitude carry six decimals (about 2 mm).
const int64_t kMinuteFraction = 1000000;

int64_t FloorDivide(int64_t value, int64_t divisor) {
    int64_t quotient = value / divisor;
    if ((value % divisor != 0) && ((value < 0) != (divisor < 0))) --quotient;
    return quotient;
}

// The UTC time of day and date of a point in time, rounded to centiseconds
// (a time that rounds up to midnight belongs to the next day).
struct SUtcFields {
    std::string time;  // hhmmss.ss
    std::string date;  // ddmmyy
};

SUtcFields UtcFields(Core::Time time) {
    const int64_t centiseconds = FloorDivide(time.Microseconds() + 5000, 10000);
    const int64_t days = FloorDivide(centiseconds, kCentisecondsPerDay);
    const int64_t ofDay = centiseconds - days * kCentisecondsPerDay;

    // Civil date from days since 1970-01-01 in the proleptic Gregorian
    // calendar, by eras of 400 years (146097 days).
    const int64_t shifted = days + 719468;
    const int64_t era = FloorDivide(shifted, 146097);
    const int64_t dayOfEra = shifted - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfYear + 2) / 153;  // March is 0
    const int day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    const int month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    const int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);

    char text[32];
    SUtcFields fields;
    std::snprintf(text, sizeof(text), "%02d%02d%02d.%02d", static_cast<int>(ofDay / 360000),
                  static_cast<int>(ofDay / 6000 % 60), static_cast<int>(ofDay / 100 % 60),
                  static_cast<int>(ofDay % 100));
    fields.time = text;
    std::snprintf(text, sizeof(text), "%02d%02d%02d", day, month,
                  static_cast<int>((year % 100 + 100) % 100));
    fields.date = text;
    return fields;
}

// "ddmm.mmmmmm,N" (or dddmm.mmmmmm,E with three degree digits) for an angle in
// radians; positive gives the first hemisphere letter.
std::string Angle(double radians, int degreeDigits, char positive, char negative) {
    const double degrees = radians * Core::Maths::DEGREES_PER_RADIAN;
    const int64_t units = std::llround(std::fabs(degrees) * 60.0 * kMinuteFraction);
    const int64_t unitsPerDegree = 60 * kMinuteFraction;
    char text[40];
    std::snprintf(text, sizeof(text), "%0*d%02d.%06d,%c", degreeDigits,
                  static_cast<int>(units / unitsPerDegree),
                  static_cast<int>(units % unitsPerDegree / kMinuteFraction),
                  static_cast<int>(units % kMinuteFraction),
                  (degrees < 0.0 && units != 0) ? negative : positive);
    return text;
}

std::string Fixed(double value, int decimals) {
    if (!std::isfinite(value)) return "";
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

int Clamp(int value, int low, int high) { return value < low ? low : value > high ? high : value; }

bool HasPosition(const SNMEAFix& fix) {
    return fix.valid && std::isfinite(fix.latitude) && std::isfinite(fix.longitude) &&
           std::isfinite(fix.heightAboveEllipsoid);
}

char ModeIndicator(int fixQuality) {
    switch (fixQuality) {
        case 2:  // DGPS
        case 4:  // RTK fixed
        case 5:  // RTK float
            return 'D';
        case 6:
            return 'E';  // dead reckoning
        default:
            return 'A';
    }
}

}  // namespace

std::string Checksum(const std::string& body) {
    unsigned sum = 0;
    for (char c : body) sum ^= static_cast<unsigned char>(c);
    char text[3];
    std::snprintf(text, sizeof(text), "%02X", sum);
    return text;
}

std::string MakeSentence(const std::string& body) { return "$" + body + "*" + Checksum(body); }

std::string WithLineEnd(const std::string& sentence) {
    size_t end = sentence.size();
    while (end > 0 && (sentence[end - 1] == '\r' || sentence[end - 1] == '\n')) --end;
    return sentence.substr(0, end) + "\r\n";
}

std::string BuildGPGGA(const SNMEAFix& fix, double geoidalSeparation) {
    const SUtcFields utc = UtcFields(fix.utcTime);
    const bool position = HasPosition(fix);
    const int quality = position ? Clamp(fix.fixQuality, 0, 9) : 0;
    const int satellites = Clamp(fix.satellitesUsed, 0, 99);
    char counts[16];
    std::snprintf(counts, sizeof(counts), "%d,%02d", quality, satellites);

    std::string body = "GPGGA," + utc.time + ",";
    if (position) {
        body += Angle(fix.latitude, 2, 'N', 'S') + "," + Angle(fix.longitude, 3, 'E', 'W') + ",";
        body += std::string(counts) + "," + Fixed(fix.hdop, 1) + ",";
        body += Fixed(fix.heightAboveEllipsoid - geoidalSeparation, 3) + ",M,";
        body += Fixed(geoidalSeparation, 3) + ",M,,";
    } else {
        body += ",,,," + std::string(counts) + ",,,,,,,";
    }
    return MakeSentence(body);
}

std::string BuildGPRMC(const SNMEAFix& fix) {
    const SUtcFields utc = UtcFields(fix.utcTime);
    std::string body = "GPRMC," + utc.time + ",";
    if (HasPosition(fix)) {
        // A negative speed is noise around standstill.
        const double speed = fix.speedOverGround < 0.0 ? 0.0 : fix.speedOverGround;
        std::string track;
        if (std::isfinite(fix.trackDegrees)) {
            // Whole hundredths, so that 359.999 becomes 0.00 and not 360.00.
            int64_t hundredths = std::llround(fix.trackDegrees * 100.0) % 36000;
            if (hundredths < 0) hundredths += 36000;
            char text[16];
            std::snprintf(text, sizeof(text), "%d.%02d", static_cast<int>(hundredths / 100),
                          static_cast<int>(hundredths % 100));
            track = text;
        }
        body += "A," + Angle(fix.latitude, 2, 'N', 'S') + "," + Angle(fix.longitude, 3, 'E', 'W');
        body += "," + Fixed(speed * kKnotsPerMetrePerSecond, 3) + "," + track + "," + utc.date;
        body += ",,,";
        body += ModeIndicator(fix.fixQuality);
    } else {
        body += "V,,,,,,," + utc.date + ",,,N";
    }
    return MakeSentence(body);
}

}  // namespace NMEA
