#pragma once
// Novatel::CNovatelCartesianLog: the fields of the receiver's Cartesian
// solution body, which BESTXYZ, PSRXYZ, RTKXYZ and PDPXYZ share: ECEF
// position and velocity with their standard deviations, the solution's status
// and type numbers, ages and satellite counts. It answers CCartesianLog; the
// binary layer (CNovatelBinaryCartesianLog) fills it.

#include <cstdint>
#include <string>

#include "Logs/NovatelOEMV/CartesianLog.h"
#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelCartesianLog : public virtual CNovatelRecord, public CCartesianLog {
public:
    ~CNovatelCartesianLog() override;

    bool GetPosition(double& x, double& y, double& z) const override;
    bool GetPositionStdDev(double& sx, double& sy, double& sz) const override;
    bool GetVelocity(double& vx, double& vy, double& vz) const override;
    bool GetVelocityStdDev(double& sx, double& sy, double& sz) const override;
    unsigned GetPositionType() const override { return m_positionType; }
    unsigned GetSolutionStatus() const override { return m_solutionStatus; }
    unsigned GetVelocityType() const override { return m_velocityType; }
    unsigned GetVelocitySolutionStatus() const override { return m_velocitySolutionStatus; }
    unsigned GetSatellitesUsed() const override { return m_satellitesUsed; }
    unsigned GetSatellitesTracked() const override { return m_satellitesTracked; }
    // The receiver counts every system together: no per-system counts.
    unsigned GetGLONASSSatellitesUsed() const override { return 0; }
    unsigned GetGLONASSSatellitesTracked() const override { return 0; }
    unsigned GetSBASSatellitesUsed() const override { return 0; }
    unsigned GetSBASSatellitesTracked() const override { return 0; }

    // The reference station's ID: the four characters as sent, NULs included
    // (all four are NUL when no station is used); empty for a frame too short
    // to hold them.
    const std::string& GetBaseStationID() const { return m_baseStationID; }
    // How late the velocity is against the solution time, seconds.
    double GetVelocityLatency() const { return m_velocityLatency; }
    // Age of the differential corrections used, seconds.
    double GetDifferentialAge() const { return m_differentialAge; }
    // Age of the solution, seconds.
    double GetSolutionAge() const { return m_solutionAge; }
    // Satellites whose L1 measurements the solution used (reserved, 0, on PSRXYZ).
    unsigned GetL1SatellitesUsed() const { return m_l1SatellitesUsed; }
    // Satellites used with measurements on more than one frequency (reserved, 0,
    // on PSRXYZ).
    unsigned GetMultiFrequencySatellitesUsed() const { return m_multiFrequencySatellitesUsed; }
    // The reserved byte after the multi-frequency count, as sent.
    unsigned GetReservedByte108() const { return m_reservedByte108; }
    // The extended solution status bits (bit 0 set when the solution was
    // verified; the ionosphere model in bits 1 to 3).
    unsigned GetExtendedSolutionStatus() const { return m_extendedSolutionStatus; }
    // The reserved byte before the signal mask, as sent.
    unsigned GetReservedByte110() const { return m_reservedByte110; }
    // The signals used in the solution, one bit each (0x01 GPS L1, 0x02 GPS L2,
    // 0x10 GLONASS L1, 0x20 GLONASS L2 ...).
    unsigned GetSignalMask() const { return m_signalMask; }

protected:
    uint32_t m_solutionStatus = 0;
    uint32_t m_positionType = 0;
    double m_x = 0.0;
    double m_y = 0.0;
    double m_z = 0.0;
    double m_sigmaX = 0.0;
    double m_sigmaY = 0.0;
    double m_sigmaZ = 0.0;
    uint32_t m_velocitySolutionStatus = 0;
    uint32_t m_velocityType = 0;
    double m_velocityX = 0.0;
    double m_velocityY = 0.0;
    double m_velocityZ = 0.0;
    double m_sigmaVelocityX = 0.0;
    double m_sigmaVelocityY = 0.0;
    double m_sigmaVelocityZ = 0.0;
    std::string m_baseStationID;
    double m_velocityLatency = 0.0;
    double m_differentialAge = 0.0;
    double m_solutionAge = 0.0;
    uint8_t m_satellitesTracked = 0;
    uint8_t m_satellitesUsed = 0;
    uint8_t m_l1SatellitesUsed = 0;
    uint8_t m_multiFrequencySatellitesUsed = 0;
    uint8_t m_reservedByte108 = 0;
    uint8_t m_extendedSolutionStatus = 0;
    uint8_t m_reservedByte110 = 0;
    uint8_t m_signalMask = 0;
};

}  // namespace Novatel
