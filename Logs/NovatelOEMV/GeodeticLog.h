#pragma once
// CGeodeticLog: the interface of a record that carries a latitude, longitude
// and height solution. Consumers find such records with a dynamic cast and read
// them through this interface only, never through the receiver's classes.
// Latitude and longitude are in radians.
//
// CGPSRecord is a virtual base, like everywhere in the record tree, so a
// receiver record that also implements this interface still holds exactly one
// CGPSRecord part.

#include "Logs/NovatelOEMV/GPSRecord.h"

class CGeodeticLog : public virtual CGPSRecord {
public:
    ~CGeodeticLog() override = default;

    // Latitude and longitude in radians, height above mean sea level in metres;
    // false, and all three 0.0, when the record's message failed its checksum.
    virtual bool GetPosition(double& lat, double& lon, double& height) const = 0;
    // The standard deviations of latitude, longitude and height, in metres;
    // same rule as GetPosition.
    virtual bool GetPositionStdDev(double& sLat, double& sLon, double& sHeight) const = 0;
    // The geoid undulation (separation of geoid and ellipsoid), metres.
    virtual double GetUndulation() const = 0;
    // Age of the differential corrections used, seconds.
    virtual double GetDifferentialAge() const = 0;
    // Age of the solution, seconds.
    virtual double GetSolutionAge() const = 0;
    // The receiver's position type number.
    virtual unsigned GetPositionType() const = 0;
    // The receiver's solution status number (0 computed).
    virtual unsigned GetSolutionStatus() const = 0;
    // Satellites used in the solution.
    virtual unsigned GetSatellitesUsed() const = 0;
};
