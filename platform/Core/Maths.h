#pragma once
// WGS-84 ellipsoid and related constants used by the position code.

namespace Core {
namespace Maths {

const double PI = 3.14159265358979323846;
const double DEGREES_PER_RADIAN = 180.0 / PI;
const double RADIANS_PER_DEGREE = PI / 180.0;

// WGS-84 defining parameters.
const double WGS84_SEMI_MAJOR_AXIS = 6378137.0;         // a, metres
const double WGS84_INVERSE_FLATTENING = 298.257223563;  // 1/f
const double WGS84_FLATTENING = 1.0 / WGS84_INVERSE_FLATTENING;
const double WGS84_EARTH_ROTATION_RATE = 7.2921151467e-5;  // rad/s
const double WGS84_GM = 3.986004418e14;                    // m^3/s^2

// Derived values.
const double WGS84_SEMI_MINOR_AXIS = WGS84_SEMI_MAJOR_AXIS * (1.0 - WGS84_FLATTENING);  // b
const double WGS84_FIRST_ECCENTRICITY_SQUARED = WGS84_FLATTENING * (2.0 - WGS84_FLATTENING);
const double WGS84_SECOND_ECCENTRICITY_SQUARED =
    WGS84_FIRST_ECCENTRICITY_SQUARED / (1.0 - WGS84_FIRST_ECCENTRICITY_SQUARED);

const double SPEED_OF_LIGHT = 299792458.0;  // m/s

// GPS time.
const int SECONDS_PER_WEEK = 604800;

}  // namespace Maths
}  // namespace Core
