#include "tools/simulator/Scenario.h"

#include <algorithm>
#include <cmath>

#include "platform/Core/Maths.h"

namespace Simulator {

namespace {

using Core::Maths::PI;
using Core::Maths::RADIANS_PER_DEGREE;

const double kGpsOrbitRadius = 26559.7e3;
const double kGpsInclination = 55.0;
const double kGlonassOrbitRadius = 25508.0e3;
const double kGlonassInclination = 64.8;
const double kGeostationaryRadius = 42164.0e3;
const double kGpsL1 = 1575.42e6;
const double kGlonassL1 = 1602.0e6;
const double kGlonassL1Step = 0.5625e6;

// GLONASS frequency channel of slots 1 to 24; antipodal slots share one.
const int16_t kGlonassChannels[24] = {1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                      -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

struct SGeostationary {
    uint16_t prn;
    double longitude;
};
const SGeostationary kSbas[] = {{120, -15.5},  {124, 21.5},  {126, 25.0},  {129, 140.0},
                                {135, -133.0}, {137, 145.0}, {138, -107.3}};

double Radians(double degrees) { return degrees * RADIANS_PER_DEGREE; }

// ECEF at GPS time t (seconds since the GPS epoch) of a circular orbit
// fixed in inertial space, with the Earth turning under it.
SVector OrbitPosition(const SOrbit& orbit, double t) {
    const double u = orbit.phase + orbit.meanMotion * t;
    const double cosU = std::cos(u), sinU = std::sin(u);
    const double x =
        orbit.radius * (cosU * orbit.cosNode - sinU * orbit.cosInclination * orbit.sinNode);
    const double y =
        orbit.radius * (cosU * orbit.sinNode + sinU * orbit.cosInclination * orbit.cosNode);
    const double z = orbit.radius * sinU * orbit.sinInclination;
    const double theta = std::fmod(Core::Maths::WGS84_EARTH_ROTATION_RATE * t, 2.0 * PI);
    const double cosTheta = std::cos(theta), sinTheta = std::sin(theta);
    SVector ecef;
    ecef.x = x * cosTheta + y * sinTheta;
    ecef.y = -x * sinTheta + y * cosTheta;
    ecef.z = z;
    return ecef;
}

SOrbit MakeOrbit(ESatelliteSystem system, int prn, double radius, double inclinationDegrees,
                 double nodeDegrees, double phaseDegrees) {
    SOrbit orbit;
    orbit.system = system;
    orbit.prn = static_cast<uint16_t>(prn);
    orbit.radius = radius;
    orbit.meanMotion = std::sqrt(Core::Maths::WGS84_GM / (radius * radius * radius));
    orbit.cosInclination = std::cos(Radians(inclinationDegrees));
    orbit.sinInclination = std::sin(Radians(inclinationDegrees));
    orbit.cosNode = std::cos(Radians(nodeDegrees));
    orbit.sinNode = std::sin(Radians(nodeDegrees));
    orbit.phase = Radians(phaseDegrees);
    return orbit;
}

SVector Minus(const SVector& a, const SVector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double Norm(const SVector& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

// East, north, up components of an ECEF difference at a geodetic place.
SVector ToEnu(const SVector& d, double sinLat, double cosLat, double sinLon, double cosLon) {
    SVector enu;
    enu.x = -sinLon * d.x + cosLon * d.y;
    enu.y = -sinLat * cosLon * d.x - sinLat * sinLon * d.y + cosLat * d.z;
    enu.z = cosLat * cosLon * d.x + cosLat * sinLon * d.y + sinLat * d.z;
    return enu;
}

}  // namespace

CScenario::CScenario(const SScenarioSettings& settings) : m_settings(settings) {
    // GPS: six planes of four; GLONASS: three planes of eight.
    for (int plane = 0; plane < 6; ++plane)
        for (int slot = 0; slot < 4; ++slot)
            m_orbits.push_back(MakeOrbit(kGPS, plane * 4 + slot + 1, kGpsOrbitRadius,
                                         kGpsInclination, 60.0 * plane,
                                         90.0 * slot + 15.0 * plane));
    for (int plane = 0; plane < 3; ++plane)
        for (int slot = 0; slot < 8; ++slot)
            m_orbits.push_back(MakeOrbit(kGLONASS, plane * 8 + slot + 1, kGlonassOrbitRadius,
                                         kGlonassInclination, 120.0 * plane,
                                         45.0 * slot + 15.0 * plane));
}

SVector CScenario::ToEcef(double latitudeDegrees, double longitudeDegrees, double height) {
    const double a = Core::Maths::WGS84_SEMI_MAJOR_AXIS;
    const double e2 = Core::Maths::WGS84_FIRST_ECCENTRICITY_SQUARED;
    const double latitude = Radians(latitudeDegrees), longitude = Radians(longitudeDegrees);
    const double n = a / std::sqrt(1.0 - e2 * std::sin(latitude) * std::sin(latitude));
    SVector ecef;
    ecef.x = (n + height) * std::cos(latitude) * std::cos(longitude);
    ecef.y = (n + height) * std::cos(latitude) * std::sin(longitude);
    ecef.z = (n * (1.0 - e2) + height) * std::sin(latitude);
    return ecef;
}

SVector CScenario::AntennaAt(double elapsed, double& latitude, double& longitude) const {
    latitude = m_settings.latitudeDegrees;
    longitude = m_settings.longitudeDegrees;
    const double radius = m_settings.circleRadiusMetres;
    if (radius > 0.0 && m_settings.speedMetresPerSecond > 0.0) {
        // Round the circle clockwise from its northern point.
        const double angle = m_settings.speedMetresPerSecond * elapsed / radius;
        const double metresPerDegree = Core::Maths::WGS84_SEMI_MAJOR_AXIS * RADIANS_PER_DEGREE;
        latitude += radius * std::cos(angle) / metresPerDegree;
        longitude += radius * std::sin(angle) / (metresPerDegree * std::cos(Radians(latitude)));
    }
    return ToEcef(latitude, longitude, m_settings.heightMetres);
}

SEpochGeometry CScenario::At(double elapsed) const {
    SEpochGeometry epoch;
    const double t = static_cast<double>(m_settings.startWeek) * Core::Maths::SECONDS_PER_WEEK +
                     m_settings.startSeconds + elapsed;
    epoch.antenna = AntennaAt(elapsed, epoch.latitudeDegrees, epoch.longitudeDegrees);
    epoch.heightMetres = m_settings.heightMetres;
    double lat, lon;
    const bool moving =
        m_settings.circleRadiusMetres > 0.0 && m_settings.speedMetresPerSecond > 0.0;
    const SVector before = moving ? AntennaAt(elapsed - 0.5, lat, lon) : epoch.antenna;
    const SVector after = moving ? AntennaAt(elapsed + 0.5, lat, lon) : epoch.antenna;
    epoch.velocity = Minus(after, before);
    const double latitude = Radians(epoch.latitudeDegrees);
    const double longitude = Radians(epoch.longitudeDegrees);
    const double sinLat = std::sin(latitude), cosLat = std::cos(latitude);
    const double sinLon = std::sin(longitude), cosLon = std::cos(longitude);

    auto observe = [&](ESatelliteSystem system, uint16_t prn, const SVector& now,
                       const SVector& earlier, const SVector& later) {
        const SVector line = Minus(now, epoch.antenna);
        const SVector enu = ToEnu(line, sinLat, cosLat, sinLon, cosLon);
        const double range = Norm(line);
        const double elevation = std::asin(enu.z / range) / RADIANS_PER_DEGREE;
        if (elevation < m_settings.elevationMaskDegrees) return;
        SSatelliteView view;
        view.system = system;
        view.prn = prn;
        view.elevationDegrees = elevation;
        double azimuth = std::atan2(enu.x, enu.y) / RADIANS_PER_DEGREE;
        view.azimuthDegrees = azimuth < 0.0 ? azimuth + 360.0 : azimuth;
        view.rangeMetres = range;
        view.rangeRate = Norm(Minus(later, after)) - Norm(Minus(earlier, before));
        view.carrierToNoise = (system == kSBAS ? 34.0 : 36.0) + 14.0 * std::sin(Radians(elevation));
        double frequency = kGpsL1;
        if (system == kGLONASS) {
            view.glonassFrequency = kGlonassChannels[(prn - 1) % 24];
            frequency = kGlonassL1 + kGlonassL1Step * view.glonassFrequency;
        }
        view.wavelength = Core::Maths::SPEED_OF_LIGHT / frequency;
        epoch.satellites.push_back(view);
    };

    for (const SOrbit& orbit : m_orbits) {
        observe(orbit.system, orbit.prn, OrbitPosition(orbit, t), OrbitPosition(orbit, t - 0.5),
                OrbitPosition(orbit, t + 0.5));
    }
    for (const SGeostationary& geo : kSbas) {
        const SVector position =
            ToEcef(0.0, geo.longitude, kGeostationaryRadius - Core::Maths::WGS84_SEMI_MAJOR_AXIS);
        observe(kSBAS, geo.prn, position, position, position);
    }
    return epoch;
}

SDilution CScenario::Dilution(const std::vector<SSatelliteView>& satellites) {
    SDilution dop;
    if (satellites.size() < 4) return dop;
    // Normal matrix of unit lines of sight (east, north, up) and the clock term.
    double normal[4][8] = {};
    for (const SSatelliteView& view : satellites) {
        const double el = Radians(view.elevationDegrees), az = Radians(view.azimuthDegrees);
        const double row[4] = {-std::cos(el) * std::sin(az), -std::cos(el) * std::cos(az),
                               -std::sin(el), 1.0};
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) normal[i][j] += row[i] * row[j];
    }
    for (int i = 0; i < 4; ++i) normal[i][4 + i] = 1.0;
    // Gauss-Jordan inversion with partial pivoting.
    for (int column = 0; column < 4; ++column) {
        int pivot = column;
        for (int r = column + 1; r < 4; ++r)
            if (std::fabs(normal[r][column]) > std::fabs(normal[pivot][column])) pivot = r;
        if (std::fabs(normal[pivot][column]) < 1e-12) return SDilution();
        for (int k = 0; k < 8; ++k) std::swap(normal[column][k], normal[pivot][k]);
        const double divisor = normal[column][column];
        for (int k = 0; k < 8; ++k) normal[column][k] /= divisor;
        for (int r = 0; r < 4; ++r) {
            if (r == column) continue;
            const double factor = normal[r][column];
            for (int k = 0; k < 8; ++k) normal[r][k] -= factor * normal[column][k];
        }
    }
    const double qe = normal[0][4], qn = normal[1][5], qu = normal[2][6], qt = normal[3][7];
    dop.gdop = std::sqrt(qe + qn + qu + qt);
    dop.pdop = std::sqrt(qe + qn + qu);
    dop.hdop = std::sqrt(qe + qn);
    dop.vdop = std::sqrt(qu);
    dop.tdop = std::sqrt(qt);
    dop.htdop = std::sqrt(qe + qn + qt);
    return dop;
}

}  // namespace Simulator
