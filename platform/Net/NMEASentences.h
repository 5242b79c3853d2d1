#pragma once
// NMEA-0183 sentences the NMEA service makes itself: GPGGA and GPRMC from one
// position fix, the sentence checksum, and the CR LF every sentence ends with
// on the wire.

#include <string>

#include "platform/Core/Time.h"

// One position fix, in plain values, as the NMEA service needs it.
struct SNMEAFix {
    Core::Time utcTime;                 // time of the fix, UTC (Unix time)
    double latitude = 0.0;              // radians, north positive
    double longitude = 0.0;             // radians, east positive
    double heightAboveEllipsoid = 0.0;  // metres above the WGS-84 ellipsoid
    int fixQuality = 0;  // GGA quality: 0 none, 1 GPS, 2 DGPS, 4 RTK, 5 float RTK, ...
    int satellitesUsed = 0;
    double hdop = 0.0;
    double speedOverGround = 0.0;  // metres per second
    double trackDegrees = 0.0;     // course over ground, degrees from true north
    bool valid = false;            // false: no usable position, only the time is sent
};

namespace NMEA {

// The checksum of a sentence body (the text between "$" and "*"): the
// exclusive or of its bytes, as two upper-case hexadecimal digits.
std::string Checksum(const std::string& body);
// "$", the body, "*" and its checksum; no line end.
std::string MakeSentence(const std::string& body);
// The sentence with any CR and LF at its end replaced by exactly one CR LF.
std::string WithLineEnd(const std::string& sentence);

// GPGGA for the fix. The altitude is above mean sea level: the height above
// the ellipsoid less the geoidal separation, which is sent as well. An
// invalid fix (or one whose position is not a number) gives quality 0 and
// empty position fields. No line end.
std::string BuildGPGGA(const SNMEAFix& fix, double geoidalSeparation);
// GPRMC for the fix, with status A and the NMEA 2.3 mode indicator (A
// autonomous, D differential, E estimated) for a valid fix, status V, mode N
// and empty position fields otherwise. Speed is in knots. No line end.
std::string BuildGPRMC(const SNMEAFix& fix);

}  // namespace NMEA
