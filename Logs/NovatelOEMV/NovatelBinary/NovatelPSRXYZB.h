#pragma once
// Novatel::CNovatelPSRXYZB: the binary PSRXYZ log. CNovatelBinaryCartesianLog
// decodes its body, which holds nothing beyond the shared Cartesian fields.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryCartesianLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZ.h"

namespace Novatel {

class CNovatelPSRXYZB : public CNovatelBinaryCartesianLog, public virtual CNovatelPSRXYZ {
public:
    explicit CNovatelPSRXYZB(const ByteVector& frame);
    ~CNovatelPSRXYZB() override;
};

}  // namespace Novatel
