// ECEF to geodetic and back on WGS-84: points whose answer is known without
// the code under test, and a round trip over the globe.

#include <gtest/gtest.h>

#include <cmath>

#include "platform/Core/Maths.h"
#include "platform/Position/Geodesy.h"

namespace {

using Core::Maths::DEGREES_PER_RADIAN;
using Core::Maths::RADIANS_PER_DEGREE;
using Position::ECEFToGeodetic;
using Position::SGeodeticPosition;

const double kA = Core::Maths::WGS84_SEMI_MAJOR_AXIS;
const double kB = Core::Maths::WGS84_SEMI_MINOR_AXIS;
const double kE2 = Core::Maths::WGS84_FIRST_ECCENTRICITY_SQUARED;
const double kDegreeTolerance = 1e-9;
const double kMetreTolerance = 1e-3;

struct SKnownPoint {
    const char* name;
    double x, y, z;
    double latitude, longitude, height;  // degrees, degrees, metres
};

// Points on the axes, where the answer follows from the ellipsoid's axes alone.
const SKnownPoint kKnownPoints[] = {
    {"equator, prime meridian", kA, 0, 0, 0, 0, 0},
    {"equator, 1000 m up", kA + 1000, 0, 0, 0, 0, 1000},
    {"equator, 90 E", 0, kA, 0, 0, 90, 0},
    {"equator, 90 W", 0, -kA, 0, 0, -90, 0},
    {"equator, 180", -kA, 0, 0, 0, 180, 0},
    {"equator, 500 m below", kA - 500, 0, 0, 0, 0, -500},
    {"north pole", 0, 0, kB, 90, 0, 0},
    {"south pole, 100 m up", 0, 0, -kB - 100, -90, 0, 100},
    {"low orbit over the equator", 0, kA + 400000, 0, 0, 90, 400000},
};

TEST(GeodesyTest, ConvertsPointsOnTheAxesExactly) {
    for (const SKnownPoint& point : kKnownPoints) {
        SCOPED_TRACE(point.name);
        const SGeodeticPosition result = ECEFToGeodetic(point.x, point.y, point.z);
        EXPECT_NEAR(point.latitude, result.latitude * DEGREES_PER_RADIAN, kDegreeTolerance);
        EXPECT_NEAR(point.longitude, result.longitude * DEGREES_PER_RADIAN, kDegreeTolerance);
        EXPECT_NEAR(point.height, result.height, kMetreTolerance);
    }
}

// The forward formula written out here independently: 45 degrees north,
// 45 east, 1000 m, where N = a / sqrt(1 - e2 / 2).
TEST(GeodesyTest, ConvertsAPointAt45DegreesAnd1000MetresFromTheForwardFormula) {
    const double n = kA / std::sqrt(1.0 - kE2 / 2.0);
    const double half = std::sqrt(0.5);
    const double x = (n + 1000.0) * half * half;
    const double z = (n * (1.0 - kE2) + 1000.0) * half;
    const SGeodeticPosition result = ECEFToGeodetic(x, x, z);
    EXPECT_NEAR(45.0, result.latitude * DEGREES_PER_RADIAN, kDegreeTolerance);
    EXPECT_NEAR(45.0, result.longitude * DEGREES_PER_RADIAN, kDegreeTolerance);
    EXPECT_NEAR(1000.0, result.height, kMetreTolerance);
}

// A single Bowring step misses by centimetres at aircraft heights; the
// iteration must not.
TEST(GeodesyTest, RoundTripsEveryPointOfAGlobalGridToANanodegreeAndAMillimetre) {
    const double heights[] = {-1000.0, 0.0, 1234.5, 20000.0, 400000.0, 20200000.0};
    double worstDegrees = 0.0;
    double worstMetres = 0.0;
    for (int latitude = -90; latitude <= 90; latitude += 5) {
        for (int longitude = -180; longitude < 180; longitude += 15) {
            for (double height : heights) {
                SGeodeticPosition in;
                in.latitude = (latitude + 0.123456789) * RADIANS_PER_DEGREE;
                if (latitude == 90) in.latitude = 90 * RADIANS_PER_DEGREE;
                in.longitude = (longitude + 0.987654321) * RADIANS_PER_DEGREE;
                in.height = height;
                double x, y, z;
                Position::GeodeticToECEF(in, x, y, z);
                const SGeodeticPosition out = ECEFToGeodetic(x, y, z);
                worstDegrees = std::max(worstDegrees,
                                        std::fabs(out.latitude - in.latitude) * DEGREES_PER_RADIAN);
                if (std::fabs(latitude) < 90) {
                    worstDegrees = std::max(
                        worstDegrees, std::fabs(out.longitude - in.longitude) * DEGREES_PER_RADIAN);
                }
                worstMetres = std::max(worstMetres, std::fabs(out.height - in.height));
            }
        }
    }
    EXPECT_LT(worstDegrees, kDegreeTolerance);
    EXPECT_LT(worstMetres, kMetreTolerance);
}

TEST(GeodesyTest, GivesTheCentreOfTheEarthAPositionThatIsANumber) {
    const SGeodeticPosition centre = ECEFToGeodetic(0, 0, 0);
    EXPECT_EQ(0.0, centre.latitude);
    EXPECT_EQ(0.0, centre.longitude);
    EXPECT_EQ(-kA, centre.height);
}

TEST(GeodesyTest, TurnsAnEastwardVelocityAtLongitude90IntoMinusX) {
    SGeodeticPosition at;
    at.longitude = 90 * RADIANS_PER_DEGREE;
    const Position::SLocalVector local = Position::ECEFToLocal(at, -3.0, 0.0, 2.0);
    EXPECT_NEAR(3.0, local.east, 1e-12);
    EXPECT_NEAR(2.0, local.north, 1e-12);
    EXPECT_NEAR(0.0, local.up, 1e-12);
}

TEST(GeodesyTest, RotatesSigmasSoTheVerticalAtThePoleIsSigmaZ) {
    SGeodeticPosition pole;
    pole.latitude = 90 * RADIANS_PER_DEGREE;
    const Position::SLocalVector sigmas = Position::LocalSigmas(pole, 1.0, 2.0, 3.0);
    EXPECT_NEAR(3.0, sigmas.up, 1e-9);
    EXPECT_NEAR(2.0, sigmas.east, 1e-9);
    EXPECT_NEAR(1.0, sigmas.north, 1e-9);
}

}  // namespace
