#pragma once
// Novatel::CNovatelPSRXYZ: the receiver's pseudorange solution (single point or code differential)
// as ECEF position and velocity. The position manager publishes it as diagnostics only. Its fields
// are those of the cartesian solution body that it shares with other logs; the class tells this log
// apart from them (consumers dynamic-cast to it).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"

namespace Novatel {

class CNovatelPSRXYZ : public virtual CNovatelCartesianLog {
public:
    ~CNovatelPSRXYZ() override = default;
};

}  // namespace Novatel
