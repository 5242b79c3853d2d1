#pragma once
// The position service's interface for the rest of the daemon. Any number of
// handles may exist (the position manager and the receiver status observer
// each own one); they all feed the one service of the process, set at
// start-up. Without a service (a test runs an observer alone) what a handle
// gets is dropped.

#include <vector>

#include "platform/Position/PositionSolution.h"

class CPositionService;

class CPositionAPI {
public:
    // Satellite systems of sSSatinfo::system, numbered as the receiver's
    // satellite lists number them.
    static constexpr int SYSTEM_GPS = 0;
    static constexpr int SYSTEM_GLONASS = 1;
    static constexpr int SYSTEM_SBAS = 2;

    // One satellite the receiver tracks.
    struct sSSatinfo {
        int system = SYSTEM_GPS;
        // The satellite within its system: GPS PRN 1 to 32, SBAS PRN 120 to
        // 158, GLONASS slot 1 to 24 (the receiver's GLONASS PRN less 37).
        int prn = 0;
        double carrierToNoise = 0.0;  // dB-Hz
        bool directionKnown = false;  // elevation and azimuth below hold
        double elevation = 0.0;       // degrees above the horizon
        double azimuth = 0.0;         // degrees from true north
        bool used = false;            // the satellite is used in the solution
    };

    // A handle that feeds the given service, or the process's service when null.
    explicit CPositionAPI(CPositionService* service = nullptr) : m_service(service) {}

    // Sets the service that handles without one of their own feed; null for none.
    static void SetService(CPositionService* service);
    static CPositionService* GetService();

    // One position solution: a TPV report for the service's clients, and a
    // GPGGA and GPRMC for the NMEA service's.
    void SetECEFPositionData(const Position::SECEFPositionSolutionData& solution);
    // The reference station's ECEF position, metres, for clients that ask.
    void SetBasePosition(double x, double y, double z);
    // The satellites tracked now: a SKY report.
    void SetSkyView(const std::vector<sSSatinfo>& satellites);
    // The geoid's height above the ellipsoid, metres, for the mean-sea-level
    // altitudes of both this service and the NMEA service.
    void SetGeoidalSeparation(double metres);

private:
    CPositionService* Target() const;

    CPositionService* m_service;
};
