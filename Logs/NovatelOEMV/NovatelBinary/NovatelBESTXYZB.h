#pragma once
// Novatel::CNovatelBESTXYZB: the binary BESTXYZ log. CNovatelBinaryCartesianLog
// decodes its body, which holds nothing beyond the shared Cartesian fields.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZ.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryCartesianLog.h"

namespace Novatel {

class CNovatelBESTXYZB : public CNovatelBinaryCartesianLog, public virtual CNovatelBESTXYZ {
public:
    explicit CNovatelBESTXYZB(const ByteVector& frame);
    ~CNovatelBESTXYZB() override;
};

}  // namespace Novatel
