#pragma once
// Novatel::CNovatelRTKXYZ: the receiver's RTK (carrier-phase differential) solution as ECEF
// position and velocity; one of the two solutions that reach the position service. Its fields are
// those of the cartesian solution body that it shares with other logs; the class tells this log
// apart from them (consumers dynamic-cast to it).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"

namespace Novatel {

class CNovatelRTKXYZ : public virtual CNovatelCartesianLog {
public:
    ~CNovatelRTKXYZ() override = default;
};

}  // namespace Novatel
