#pragma once
// Novatel::CNovatelPDPXYZ: the solution of the receiver's pseudorange/delta-phase filter as ECEF
// position and velocity; one of the two solutions that reach the position service, and the log that
// closes a receiver epoch. Its fields are those of the cartesian solution body that it shares with
// other logs; the class tells this log apart from them (consumers dynamic-cast to it).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"

namespace Novatel {

class CNovatelPDPXYZ : public virtual CNovatelCartesianLog {
public:
    ~CNovatelPDPXYZ() override = default;
};

}  // namespace Novatel
