#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZB.h"

namespace Novatel {

CNovatelPSRXYZB::CNovatelPSRXYZB(const ByteVector& frame) : CNovatelBinaryCartesianLog(frame) {}

CNovatelPSRXYZB::~CNovatelPSRXYZB() = default;

}  // namespace Novatel
