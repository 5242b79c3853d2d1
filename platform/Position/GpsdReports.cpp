#include "platform/Position/GpsdReports.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/Core/Maths.h"
#include "platform/Core/Time.h"
#include "platform/Position/Geodesy.h"

namespace GpsdReports {

namespace {

using json = nlohmann::ordered_json;

const int64_t kMillisecondsPerDay = 86400000;

// Sets key to value rounded to the given decimals; a value that is not a
// number is left out, as clients read an absent field as unknown.
void Put(json& object, const char* key, double value, int decimals) {
    if (!std::isfinite(value)) return;
    const double scale = std::pow(10.0, decimals);
    object[key] = std::round(value * scale) / scale + 0.0;  // + 0.0: no "-0.0"
}

// A client's request is echoed in an ERROR report and may hold any bytes:
// invalid UTF-8 is replaced by U+FFFD instead of failing the whole report.
std::string Line(const json& object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace) + "\r\n";
}

// Milliseconds since the Unix epoch as ISO 8601. The calendar is computed
// here rather than with gmtime, whose time_t is 32 bits on the device.
std::string FormatMilliseconds(int64_t milliseconds) {
    int64_t days = milliseconds / kMillisecondsPerDay;
    int64_t ofDay = milliseconds % kMillisecondsPerDay;
    if (ofDay < 0) {
        ofDay += kMillisecondsPerDay;
        --days;
    }
    // Civil date from days since 1970-01-01, counting in 400-year eras that
    // start on 1 March so the leap day falls at the end of each year.
    const int64_t shifted = days + 719468;
    const int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const int64_t dayOfEra = shifted - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    const int month =
        static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    const int year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));

    const int hours = static_cast<int>(ofDay / 3600000);
    const int minutes = static_cast<int>(ofDay / 60000 % 60);
    const int secs = static_cast<int>(ofDay / 1000 % 60);
    const int millis = static_cast<int>(ofDay % 1000);
    char text[40];
    std::snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", year, month, day,
                  hours, minutes, secs, millis);
    return text;
}

json TPVObject(const Position::SECEFPositionSolutionData& s, double separation,
               const std::string& devicePath) {
    json tpv;
    tpv["class"] = "TPV";
    tpv["device"] = devicePath;
    const bool fixed = s.solutionQuality > 0;
    tpv["mode"] = fixed ? 3 : 1;
    tpv["status"] = FixStatus(s.solutionClass);
    tpv["time"] = UTCTime(s.gpsWeek, s.gpsSeconds);
    tpv["leapseconds"] = Core::GPS_LEAP_SECONDS;
    // The daemon's own grading of the solution, beyond what gpsd reports.
    tpv["solutionQuality"] = s.solutionQuality;
    tpv["positionQuality"] = s.positionQuality;
    tpv["solutionClass"] = s.solutionClass;
    if (!fixed) return tpv;  // mode 1: no position to report

    const Position::SGeodeticPosition where = Position::ECEFToGeodetic(s.x, s.y, s.z);
    Put(tpv, "lat", where.latitude * Core::Maths::DEGREES_PER_RADIAN, 9);
    Put(tpv, "lon", where.longitude * Core::Maths::DEGREES_PER_RADIAN, 9);
    Put(tpv, "altHAE", where.height, 4);
    Put(tpv, "altMSL", where.height - separation, 4);
    Put(tpv, "geoidSep", separation, 3);
    Put(tpv, "ecefx", s.x, 3);
    Put(tpv, "ecefy", s.y, 3);
    Put(tpv, "ecefz", s.z, 3);
    Put(tpv, "ecefvx", s.velocityX, 3);
    Put(tpv, "ecefvy", s.velocityY, 3);
    Put(tpv, "ecefvz", s.velocityZ, 3);
    Put(tpv, "ecefpAcc", std::sqrt(s.sigmaX * s.sigmaX + s.sigmaY * s.sigmaY + s.sigmaZ * s.sigmaZ),
        3);

    const Position::SLocalVector sigmas =
        Position::LocalSigmas(where, s.sigmaX, s.sigmaY, s.sigmaZ);
    Put(tpv, "epx", sigmas.east, 3);
    Put(tpv, "epy", sigmas.north, 3);
    Put(tpv, "epv", sigmas.up, 3);
    Put(tpv, "eph", std::hypot(sigmas.east, sigmas.north), 3);

    const Position::SLocalVector velocity =
        Position::ECEFToLocal(where, s.velocityX, s.velocityY, s.velocityZ);
    double track = std::atan2(velocity.east, velocity.north) * Core::Maths::DEGREES_PER_RADIAN;
    if (track < 0.0) track += 360.0;
    Put(tpv, "velN", velocity.north, 3);
    Put(tpv, "velE", velocity.east, 3);
    Put(tpv, "velD", -velocity.up, 3);
    Put(tpv, "speed", std::hypot(velocity.east, velocity.north), 3);
    Put(tpv, "track", track, 4);
    Put(tpv, "climb", velocity.up, 3);
    Put(tpv, "dgpsAge", s.differentialAge, 1);
    return tpv;
}

// gpsd's numbering: PRN 1-32 GPS, 65-96 GLONASS, 120-158 SBAS, with the
// system (gnssid) and the number within it (svid) beside.
json SatelliteObject(const CPositionAPI::sSSatinfo& sat) {
    json object;
    int prn = sat.prn;
    int gnssid = 0;
    if (sat.system == CPositionAPI::SYSTEM_GLONASS) {
        prn = 64 + sat.prn;
        gnssid = 6;
    } else if (sat.system == CPositionAPI::SYSTEM_SBAS) {
        gnssid = 1;
    }
    object["PRN"] = prn;
    object["gnssid"] = gnssid;
    object["svid"] = sat.prn;
    if (sat.directionKnown) {
        Put(object, "el", sat.elevation, 1);
        Put(object, "az", sat.azimuth, 1);
    }
    Put(object, "ss", sat.carrierToNoise, 1);
    object["used"] = sat.used;
    return object;
}

json SkyObject(const std::vector<CPositionAPI::sSSatinfo>& satellites,
               const Position::SECEFPositionSolutionData* solution, const std::string& devicePath) {
    json sky;
    sky["class"] = "SKY";
    sky["device"] = devicePath;
    if (solution) {
        sky["time"] = UTCTime(solution->gpsWeek, solution->gpsSeconds);
        Put(sky, "hdop", solution->horizontalDop, 2);
        Put(sky, "pdop", solution->positionDop, 2);
    }
    json list = json::array();
    int used = 0;
    for (const CPositionAPI::sSSatinfo& sat : satellites) {
        list.push_back(SatelliteObject(sat));
        if (sat.used) ++used;
    }
    sky["nSat"] = satellites.size();
    sky["uSat"] = used;
    sky["satellites"] = list;
    return sky;
}

}  // namespace

int64_t UnixMilliseconds(uint32_t week, double seconds) {
    const int64_t gpsMilliseconds =
        static_cast<int64_t>(week) * Core::Maths::SECONDS_PER_WEEK * 1000 +
        std::llround(seconds * 1000.0);
    return gpsMilliseconds + (Core::GPS_EPOCH_UNIX_SECONDS - Core::GPS_LEAP_SECONDS) * 1000;
}

std::string UTCTime(uint32_t week, double seconds) {
    return FormatMilliseconds(UnixMilliseconds(week, seconds));
}

std::string UnixTime(double seconds) { return FormatMilliseconds(std::llround(seconds * 1000.0)); }

int FixStatus(int32_t solutionClass) {
    switch (solutionClass) {
        case Position::SOLUTION_CLASS_DIFFERENTIAL:
            return 2;
        case Position::SOLUTION_CLASS_FIXED:
            return 3;
        case Position::SOLUTION_CLASS_FLOAT:
            return 4;
        default:
            return 1;
    }
}

std::string Version() {
    json version;
    version["class"] = "VERSION";
    version["release"] = RELEASE;
    version["rev"] = RELEASE;
    version["proto_major"] = PROTOCOL_MAJOR;
    version["proto_minor"] = PROTOCOL_MINOR;
    return Line(version);
}

std::string Devices(const std::string& devicePath, const std::string& activated) {
    json device;
    device["class"] = "DEVICE";
    device["path"] = devicePath;
    device["driver"] = "NovAtel OEMV";
    if (!activated.empty()) device["activated"] = activated;
    device["flags"] = 1;  // sends position reports
    device["native"] = 1;
    json devices;
    devices["class"] = "DEVICES";
    devices["devices"] = json::array({device});
    return Line(devices);
}

std::string Watch(const SWatch& watch) {
    json object;
    object["class"] = "WATCH";
    object["enable"] = watch.enable;
    object["json"] = watch.json;
    object["nmea"] = watch.nmea;
    object["raw"] = watch.raw;
    object["scaled"] = watch.scaled;
    object["timing"] = watch.timing;
    object["split24"] = watch.split24;
    object["pps"] = watch.pps;
    return Line(object);
}

std::string TPV(const Position::SECEFPositionSolutionData& solution, double geoidalSeparation,
                const std::string& devicePath) {
    return Line(TPVObject(solution, geoidalSeparation, devicePath));
}

std::string Sky(const std::vector<CPositionAPI::sSSatinfo>& satellites,
                const Position::SECEFPositionSolutionData* solution,
                const std::string& devicePath) {
    return Line(SkyObject(satellites, solution, devicePath));
}

std::string Poll(double now, const Position::SECEFPositionSolutionData* solution,
                 double geoidalSeparation, const std::vector<CPositionAPI::sSSatinfo>* satellites,
                 const std::string& devicePath) {
    json poll;
    poll["class"] = "POLL";
    poll["time"] = UnixTime(now);
    poll["active"] = (solution || satellites) ? 1 : 0;
    poll["tpv"] = json::array();
    poll["sky"] = json::array();
    if (solution) poll["tpv"].push_back(TPVObject(*solution, geoidalSeparation, devicePath));
    if (satellites) poll["sky"].push_back(SkyObject(*satellites, solution, devicePath));
    return Line(poll);
}

std::string Base(bool known, double x, double y, double z, const std::string& devicePath) {
    json base;
    base["class"] = "BASE";
    base["device"] = devicePath;
    if (known) {
        Put(base, "ecefx", x, 3);
        Put(base, "ecefy", y, 3);
        Put(base, "ecefz", z, 3);
        const Position::SGeodeticPosition where = Position::ECEFToGeodetic(x, y, z);
        Put(base, "lat", where.latitude * Core::Maths::DEGREES_PER_RADIAN, 9);
        Put(base, "lon", where.longitude * Core::Maths::DEGREES_PER_RADIAN, 9);
        Put(base, "altHAE", where.height, 4);
    }
    return Line(base);
}

std::string Error(const std::string& message) {
    json error;
    error["class"] = "ERROR";
    error["message"] = message;
    return Line(error);
}

}  // namespace GpsdReports
