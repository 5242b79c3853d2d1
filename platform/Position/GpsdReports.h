#pragma once
// The JSON reports of the position service, in the form gpsd's clients read
// (gpsd_json(5), protocol 3.14): one compact object per report, ended by
// CR LF as those clients require.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Position/PositionAPI.h"
#include "platform/Position/PositionSolution.h"

namespace GpsdReports {

const int PROTOCOL_MAJOR = 3;
const int PROTOCOL_MINOR = 14;
const char* const RELEASE = "1.0";

// A client's watch settings, as a WATCH request sets them and the WATCH
// report echoes them.
struct SWatch {
    bool enable = false;
    bool json = false;
    bool nmea = false;
    int raw = 0;
    bool scaled = false;
    bool timing = false;
    bool split24 = false;
    bool pps = false;
};

// A GPS week and seconds of week as UTC in ISO 8601 with milliseconds and
// "Z": "2024-03-15T12:34:56.780Z". Leap seconds: Core::GPS_LEAP_SECONDS.
std::string UTCTime(uint32_t week, double seconds);
// The same time as milliseconds since the Unix epoch.
int64_t UnixMilliseconds(uint32_t week, double seconds);
// A Unix time in the same form.
std::string UnixTime(double seconds);

// The fix status of a solution class: 2 differential, 3 RTK fixed, 4 RTK
// float, 1 anything else.
int FixStatus(int32_t solutionClass);

// The reports; each ends with CR LF.
std::string Version();
std::string Devices(const std::string& devicePath, const std::string& activated);
std::string Watch(const SWatch& watch);
std::string TPV(const Position::SECEFPositionSolutionData& solution, double geoidalSeparation,
                const std::string& devicePath);
// solution, when not null, gives the report's time and dilutions.
std::string Sky(const std::vector<CPositionAPI::sSSatinfo>& satellites,
                const Position::SECEFPositionSolutionData* solution, const std::string& devicePath);
// The latest TPV and SKY (null: none yet) as a POLL report made now.
std::string Poll(double now, const Position::SECEFPositionSolutionData* solution,
                 double geoidalSeparation, const std::vector<CPositionAPI::sSSatinfo>* satellites,
                 const std::string& devicePath);
// The reference station: known false gives the report without a position.
std::string Base(bool known, double x, double y, double z, const std::string& devicePath);
std::string Error(const std::string& message);

}  // namespace GpsdReports
