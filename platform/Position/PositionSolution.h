#pragma once
// One position solution as the position manager hands it to the position
// service: the receiver's ECEF position and velocity with their quality, the
// satellites and dilutions of precision behind it, and its time.

#include <cstdint>

namespace Position {

// Solution class codes, which the position manager derives from the
// receiver's position type; the types of each are given in brackets.
// No usable position (any type not listed below).
const int32_t SOLUTION_CLASS_NONE = -1;
// Wide-area corrected: OmniSTAR HP and XP (64, 65).
const int32_t SOLUTION_CLASS_DIFFERENTIAL = 2;
// Code solutions: single, code differential, SBAS, OmniSTAR VBS (16, 17, 18, 20).
const int32_t SOLUTION_CLASS_CODE = 4;
// Float carrier phase: L1 and iono-free float, L1 integer, CDGPS (32, 33, 48, 66).
const int32_t SOLUTION_CLASS_FLOAT = 5;
// RTK: narrow-lane float, wide- and narrow-lane integer (34, 49, 50, 51).
const int32_t SOLUTION_CLASS_FIXED = 6;

struct SECEFPositionSolutionData {
    double x = 0.0;  // ECEF position, metres
    double y = 0.0;
    double z = 0.0;
    double velocityX = 0.0;  // ECEF velocity, metres per second
    double velocityY = 0.0;
    double velocityZ = 0.0;
    double sigmaX = 0.0;  // standard deviations of the position, metres
    double sigmaY = 0.0;
    double sigmaZ = 0.0;
    uint32_t gpsWeek = 0;          // time of the solution: GPS week
    double gpsSeconds = 0.0;       // and seconds of week
    double systemTime = 0.0;       // device clock when the solution was made, Unix seconds
    uint32_t solutionQuality = 0;  // 0 no solution to 3 best
    uint32_t positionQuality = 0;  // 0 no position to 4 best
    double differentialAge = 0.0;  // seconds
    uint32_t gpsSatellitesUsed = 0;
    uint32_t glonassSatellitesUsed = 0;
    uint32_t reserved = 0;
    double horizontalDop = 100.0;  // 100.0 while unknown
    double positionDop = 100.0;    // 100.0 while unknown
    int32_t solutionClass = SOLUTION_CLASS_NONE;
    double latency = 0.0;  // seconds
};

}  // namespace Position
