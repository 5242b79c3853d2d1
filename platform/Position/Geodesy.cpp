#include "platform/Position/Geodesy.h"

#include <cmath>

#include "platform/Core/Maths.h"

namespace Position {

namespace {

const double kA = Core::Maths::WGS84_SEMI_MAJOR_AXIS;
const double kB = Core::Maths::WGS84_SEMI_MINOR_AXIS;
const double kE2 = Core::Maths::WGS84_FIRST_ECCENTRICITY_SQUARED;
const double kEp2 = Core::Maths::WGS84_SECOND_ECCENTRICITY_SQUARED;

// Bowring's formula converges cubically: two rounds reach double precision for
// any point near the Earth; the rest are a margin for points far from it.
const int kMaxIterations = 8;
const double kConverged = 1e-15;  // radians, about 6 nm on the ground

}  // namespace

SGeodeticPosition ECEFToGeodetic(double x, double y, double z) {
    SGeodeticPosition result;
    const double p = std::hypot(x, y);
    if (p == 0.0) {
        // On the axis: a pole, or the centre, which has no latitude of its own.
        if (z == 0.0) {
            result.height = -kA;
            return result;
        }
        result.latitude = z > 0.0 ? Core::Maths::PI / 2 : -Core::Maths::PI / 2;
        result.height = std::fabs(z) - kB;
        return result;
    }
    result.longitude = std::atan2(y, x);

    // Bowring's formula, iterated: from the reduced latitude beta of the point
    // on the ellipsoid below it, the geodetic latitude follows in closed form;
    // the new latitude gives a better beta.
    double beta = std::atan2(z * kA, p * kB);
    double latitude = 0.0;
    for (int i = 0; i < kMaxIterations; ++i) {
        const double sinBeta = std::sin(beta);
        const double cosBeta = std::cos(beta);
        const double next = std::atan2(z + kEp2 * kB * sinBeta * sinBeta * sinBeta,
                                       p - kE2 * kA * cosBeta * cosBeta * cosBeta);
        const bool done = i > 0 && std::fabs(next - latitude) < kConverged;
        latitude = next;
        if (done) break;
        beta = std::atan2((1.0 - Core::Maths::WGS84_FLATTENING) * std::sin(latitude),
                          std::cos(latitude));
    }
    result.latitude = latitude;

    // Height along the normal; this form stays exact at every latitude,
    // where p / cos(latitude) would lose it near the poles.
    const double sinLatitude = std::sin(latitude);
    const double w = std::sqrt(1.0 - kE2 * sinLatitude * sinLatitude);
    result.height = p * std::cos(latitude) + z * sinLatitude - kA * w;
    return result;
}

void GeodeticToECEF(const SGeodeticPosition& position, double& x, double& y, double& z) {
    const double sinLatitude = std::sin(position.latitude);
    const double cosLatitude = std::cos(position.latitude);
    const double n = kA / std::sqrt(1.0 - kE2 * sinLatitude * sinLatitude);
    x = (n + position.height) * cosLatitude * std::cos(position.longitude);
    y = (n + position.height) * cosLatitude * std::sin(position.longitude);
    z = (n * (1.0 - kE2) + position.height) * sinLatitude;
}

SLocalVector ECEFToLocal(const SGeodeticPosition& at, double x, double y, double z) {
    const double sinLat = std::sin(at.latitude);
    const double cosLat = std::cos(at.latitude);
    const double sinLon = std::sin(at.longitude);
    const double cosLon = std::cos(at.longitude);
    SLocalVector local;
    local.east = -sinLon * x + cosLon * y;
    local.north = -sinLat * cosLon * x - sinLat * sinLon * y + cosLat * z;
    local.up = cosLat * cosLon * x + cosLat * sinLon * y + sinLat * z;
    return local;
}

SLocalVector LocalSigmas(const SGeodeticPosition& at, double sigmaX, double sigmaY, double sigmaZ) {
    // Each local axis is a unit combination of X, Y and Z; with independent
    // errors its variance is the sum of the squared weights times the variances.
    const double sinLat = std::sin(at.latitude);
    const double cosLat = std::cos(at.latitude);
    const double sinLon = std::sin(at.longitude);
    const double cosLon = std::cos(at.longitude);
    const double vx = sigmaX * sigmaX;
    const double vy = sigmaY * sigmaY;
    const double vz = sigmaZ * sigmaZ;
    SLocalVector sigmas;
    sigmas.east = std::sqrt(sinLon * sinLon * vx + cosLon * cosLon * vy);
    sigmas.north = std::sqrt(sinLat * sinLat * (cosLon * cosLon * vx + sinLon * sinLon * vy) +
                             cosLat * cosLat * vz);
    sigmas.up = std::sqrt(cosLat * cosLat * (cosLon * cosLon * vx + sinLon * sinLon * vy) +
                          sinLat * sinLat * vz);
    return sigmas;
}

}  // namespace Position
