#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZB.h"

namespace Novatel {

CNovatelPDPXYZB::CNovatelPDPXYZB(const ByteVector& frame) : CNovatelBinaryCartesianLog(frame) {}

CNovatelPDPXYZB::~CNovatelPDPXYZB() = default;

}  // namespace Novatel
