#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZB.h"

namespace Novatel {

CNovatelBESTXYZB::CNovatelBESTXYZB(const ByteVector& frame) : CNovatelBinaryCartesianLog(frame) {}

CNovatelBESTXYZB::~CNovatelBESTXYZB() = default;

}  // namespace Novatel
