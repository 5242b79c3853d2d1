#pragma once
// Novatel::CNovatelPDPXYZB: the binary PDPXYZ log. CNovatelBinaryCartesianLog
// decodes its body, which holds nothing beyond the shared Cartesian fields.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryCartesianLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZ.h"

namespace Novatel {

class CNovatelPDPXYZB : public CNovatelBinaryCartesianLog, public virtual CNovatelPDPXYZ {
public:
    explicit CNovatelPDPXYZB(const ByteVector& frame);
    ~CNovatelPDPXYZB() override;
};

}  // namespace Novatel
