#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZB.h"

namespace Novatel {

CNovatelRTKXYZB::CNovatelRTKXYZB(const ByteVector& frame) : CNovatelBinaryCartesianLog(frame) {}

CNovatelRTKXYZB::~CNovatelRTKXYZB() = default;

}  // namespace Novatel
