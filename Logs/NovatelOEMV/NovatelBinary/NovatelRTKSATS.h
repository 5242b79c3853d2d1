#pragma once
// Novatel::CNovatelRTKSATS: the receiver's RTKSATS log, the satellite list of
// the RTK filter (fields and accessors in CNovatelSatsLog).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelSatsLog.h"

namespace Novatel {

class CNovatelRTKSATS : public virtual CNovatelSatsLog {
public:
    ~CNovatelRTKSATS() override = default;
};

}  // namespace Novatel
