#pragma once
// Novatel::CNovatelRTKXYZB: the binary RTKXYZ log. CNovatelBinaryCartesianLog
// decodes its body, which holds nothing beyond the shared Cartesian fields.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryCartesianLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZ.h"

namespace Novatel {

class CNovatelRTKXYZB : public CNovatelBinaryCartesianLog, public virtual CNovatelRTKXYZ {
public:
    explicit CNovatelRTKXYZB(const ByteVector& frame);
    ~CNovatelRTKXYZB() override;
};

}  // namespace Novatel
