#pragma once
// Novatel::CNovatelGeodeticLog: the fields of the receiver's geodetic
// solution body (latitude, longitude, height, undulation, their standard
// deviations, ages and satellite counts), as OMNIHPPOS carries it. It answers
// CGeodeticLog; the binary layer (CNovatelBinaryGeodeticLog) fills it.
// Latitude and longitude are held in radians.

#include <cstdint>
#include <string>

#include "Logs/NovatelOEMV/GeodeticLog.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelGeodeticLog : public CGeodeticLog, public virtual CNovatelRecord {
public:
    ~CNovatelGeodeticLog() override;

    bool GetPosition(double& lat, double& lon, double& height) const override;
    bool GetPositionStdDev(double& sLat, double& sLon, double& sHeight) const override;
    double GetUndulation() const override { return m_undulation; }
    double GetDifferentialAge() const override { return m_differentialAge; }
    double GetSolutionAge() const override { return m_solutionAge; }
    unsigned GetPositionType() const override { return m_positionType; }
    unsigned GetSolutionStatus() const override { return m_solutionStatus; }
    unsigned GetSatellitesUsed() const override { return m_satellitesUsed; }

    // The receiver's datum number (61 is WGS84).
    unsigned GetDatumID() const { return m_datumID; }
    // The reference station's ID: the four characters as sent, NULs included;
    // empty for a frame too short to hold them.
    const std::string& GetBaseStationID() const { return m_baseStationID; }
    // Satellites tracked.
    unsigned GetSatellitesTracked() const { return m_satellitesTracked; }
    // Satellites whose L1 measurements the solution used.
    unsigned GetL1SatellitesUsed() const { return m_l1SatellitesUsed; }
    // Satellites used with measurements on more than one frequency.
    unsigned GetMultiFrequencySatellitesUsed() const { return m_multiFrequencySatellitesUsed; }
    // The reserved byte after the multi-frequency count, as sent.
    unsigned GetReservedByte68() const { return m_reservedByte68; }
    // The extended solution status bits.
    unsigned GetExtendedSolutionStatus() const { return m_extendedSolutionStatus; }
    // The reserved byte before the signal mask, as sent.
    unsigned GetReservedByte70() const { return m_reservedByte70; }
    // The signals used in the solution, one bit each.
    unsigned GetSignalMask() const { return m_signalMask; }

protected:
    uint32_t m_solutionStatus = 0;
    uint32_t m_positionType = 0;
    double m_latitude = 0.0;   // radians
    double m_longitude = 0.0;  // radians
    double m_height = 0.0;     // metres above mean sea level
    double m_undulation = 0.0;
    uint32_t m_datumID = 0;
    double m_sigmaLatitude = 0.0;  // metres
    double m_sigmaLongitude = 0.0;
    double m_sigmaHeight = 0.0;
    std::string m_baseStationID;
    double m_differentialAge = 0.0;
    double m_solutionAge = 0.0;
    uint8_t m_satellitesTracked = 0;
    uint8_t m_satellitesUsed = 0;
    uint8_t m_l1SatellitesUsed = 0;
    uint8_t m_multiFrequencySatellitesUsed = 0;
    uint8_t m_reservedByte68 = 0;
    uint8_t m_extendedSolutionStatus = 0;
    uint8_t m_reservedByte70 = 0;
    uint8_t m_signalMask = 0;
};

}  // namespace Novatel
