#pragma once
// CCartesianLog: the interface of a record that carries an ECEF position and
// velocity solution. Consumers find such records with a dynamic cast and read
// them through this interface only, never through the receiver's classes.
//
// CGPSRecord is a virtual base, like everywhere in the record tree, so a
// receiver record that also implements this interface still holds exactly one
// CGPSRecord part.

#include "Logs/NovatelOEMV/GPSRecord.h"

class CCartesianLog : public virtual CGPSRecord {
public:
    ~CCartesianLog() override = default;

    // The ECEF position in metres; false, and all three 0.0, when the record's
    // message failed its checksum.
    virtual bool GetPosition(double& x, double& y, double& z) const = 0;
    // The standard deviations of the position in metres; same rule as GetPosition.
    virtual bool GetPositionStdDev(double& sx, double& sy, double& sz) const = 0;
    // The ECEF velocity in metres per second; same rule as GetPosition.
    virtual bool GetVelocity(double& vx, double& vy, double& vz) const = 0;
    // The standard deviations of the velocity; same rule as GetPosition.
    virtual bool GetVelocityStdDev(double& sx, double& sy, double& sz) const = 0;
    // The receiver's position type number (16 single point, 19 propagated, ...).
    virtual unsigned GetPositionType() const = 0;
    // The receiver's position solution status number (0 computed).
    virtual unsigned GetSolutionStatus() const = 0;
    // The receiver's velocity type number.
    virtual unsigned GetVelocityType() const = 0;
    // The receiver's velocity solution status number.
    virtual unsigned GetVelocitySolutionStatus() const = 0;
    // Satellites used in the solution.
    virtual unsigned GetSatellitesUsed() const = 0;
    // Satellites tracked.
    virtual unsigned GetSatellitesTracked() const = 0;
    // Per-system counts for receivers that report them apart; a receiver that
    // counts all systems together answers 0.
    virtual unsigned GetGLONASSSatellitesUsed() const = 0;
    virtual unsigned GetGLONASSSatellitesTracked() const = 0;
    virtual unsigned GetSBASSatellitesUsed() const = 0;
    virtual unsigned GetSBASSatellitesTracked() const = 0;
};
