#pragma once
// Novatel::CNovatelBESTXYZ: the receiver's best available solution, as ECEF position and velocity.
// The position manager shows it; it does not feed the position service. Its fields are those of the
// cartesian solution body that it shares with other logs; the class tells this log apart from them
// (consumers dynamic-cast to it).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"

namespace Novatel {

class CNovatelBESTXYZ : public virtual CNovatelCartesianLog {
public:
    ~CNovatelBESTXYZ() override = default;
};

}  // namespace Novatel
