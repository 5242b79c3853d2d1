#pragma once
// Conversions between ECEF coordinates and geodetic latitude, longitude and
// height on the WGS-84 ellipsoid, and from ECEF vectors to local east, north
// and up.

namespace Position {

struct SGeodeticPosition {
    double latitude = 0.0;   // radians, north positive
    double longitude = 0.0;  // radians, east positive, -pi to pi
    double height = 0.0;     // metres above the ellipsoid
};

struct SLocalVector {
    double east = 0.0;
    double north = 0.0;
    double up = 0.0;
};

// The geodetic position of an ECEF point (metres), exact to well below a
// micrometre and 1e-12 degree anywhere from the Earth's centre region to far
// above it. The centre itself gives latitude 0, longitude 0.
SGeodeticPosition ECEFToGeodetic(double x, double y, double z);

// The ECEF point (metres) of a geodetic position.
void GeodeticToECEF(const SGeodeticPosition& position, double& x, double& y, double& z);

// An ECEF vector (a velocity, say) in east, north, up at the given place.
SLocalVector ECEFToLocal(const SGeodeticPosition& at, double x, double y, double z);

// The standard deviations along east, north and up of a position whose ECEF
// errors are independent with the given standard deviations.
SLocalVector LocalSigmas(const SGeodeticPosition& at, double sigmaX, double sigmaY, double sigmaZ);

}  // namespace Position
