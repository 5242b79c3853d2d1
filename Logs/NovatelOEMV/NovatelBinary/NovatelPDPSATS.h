#pragma once
// Novatel::CNovatelPDPSATS: the receiver's PDPSATS log, the satellite list of
// the PDP filter (fields and accessors in CNovatelSatsLog).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelSatsLog.h"

namespace Novatel {

class CNovatelPDPSATS : public virtual CNovatelSatsLog {
public:
    ~CNovatelPDPSATS() override = default;
};

}  // namespace Novatel
