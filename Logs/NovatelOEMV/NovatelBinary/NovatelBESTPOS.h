#pragma once
// Novatel::CNovatelBESTPOS: the receiver's best position log, kept for one
// field only, the geoid undulation, which the NMEA service needs for its
// sentences. The solution itself comes from the Cartesian logs, so this is
// deliberately not a CGeodeticLog.

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelBESTPOS : public virtual CNovatelRecord {
public:
    ~CNovatelBESTPOS() override = default;

    // Geoid undulation (geoid height above the ellipsoid), metres; sent as a
    // single and widened.
    double GetUndulation() const { return m_undulation; }

protected:
    double m_undulation = 0.0;
};

}  // namespace Novatel
