#pragma once
// The simulated sky and antenna: circular-orbit GPS, GLONASS and geostationary
// SBAS satellites seen from a place on the WGS-84 ellipsoid, with a static
// antenna or one driving round a circle. Everything is a pure function of the
// GPS time, so the same settings always give the same observations.

#include <cstdint>
#include <vector>

namespace Simulator {

enum ESatelliteSystem : uint32_t { kGPS = 0, kGLONASS = 1, kSBAS = 2 };

struct SScenarioSettings {
    double latitudeDegrees = 51.4779;
    double longitudeDegrees = -0.0015;
    double heightMetres = 92.0;  // above the ellipsoid
    uint32_t startWeek = 2390;
    double startSeconds = 345600.0;   // GPS seconds of week at simulated time 0
    double circleRadiusMetres = 0.0;  // 0: static antenna
    double speedMetresPerSecond = 0.0;
    double elevationMaskDegrees = 5.0;
};

struct SVector {
    double x = 0.0, y = 0.0, z = 0.0;
};

// One satellite above the elevation mask at one instant.
struct SSatelliteView {
    ESatelliteSystem system = kGPS;
    uint16_t prn = 0;              // GPS PRN, GLONASS slot (1-24) or SBAS PRN
    int16_t glonassFrequency = 0;  // GLONASS frequency channel k (-7..6), 0 otherwise
    double elevationDegrees = 0.0;
    double azimuthDegrees = 0.0;  // 0 north, clockwise
    double rangeMetres = 0.0;     // geometric range
    double rangeRate = 0.0;       // metres per second, positive when receding
    double carrierToNoise = 0.0;  // dB-Hz
    double wavelength = 0.0;      // of the L1 carrier, metres
};

// The antenna and the sky at one instant.
struct SEpochGeometry {
    SVector antenna;   // ECEF, metres
    SVector velocity;  // ECEF, metres per second
    double latitudeDegrees = 0.0, longitudeDegrees = 0.0, heightMetres = 0.0;
    std::vector<SSatelliteView> satellites;  // GPS by PRN, then GLONASS, then SBAS
};

// Dilutions of precision of a set of satellites.
struct SDilution {
    double gdop = 0.0, pdop = 0.0, hdop = 0.0, vdop = 0.0, tdop = 0.0, htdop = 0.0;
};

// A circular orbit, with the sines and cosines it needs worked out once.
struct SOrbit {
    ESatelliteSystem system = kGPS;
    uint16_t prn = 0;
    double radius = 0.0, meanMotion = 0.0, phase = 0.0;
    double cosInclination = 0.0, sinInclination = 0.0, cosNode = 0.0, sinNode = 0.0;
};

class CScenario {
public:
    explicit CScenario(const SScenarioSettings& settings);

    const SScenarioSettings& Settings() const { return m_settings; }
    // The geometry at a simulated time (seconds since the start).
    SEpochGeometry At(double elapsedSeconds) const;
    // ECEF of a geodetic point (degrees, metres above the ellipsoid).
    static SVector ToEcef(double latitudeDegrees, double longitudeDegrees, double height);
    // DOPs of the given satellites; all zero with fewer than four.
    static SDilution Dilution(const std::vector<SSatelliteView>& satellites);

private:
    SVector AntennaAt(double elapsedSeconds, double& latitude, double& longitude) const;

    SScenarioSettings m_settings;
    std::vector<SOrbit> m_orbits;  // GPS by PRN, then GLONASS by slot
};

}  // namespace Simulator
