#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATSB.h"

namespace Novatel {

CNovatelRTKSATSB::CNovatelRTKSATSB(const ByteVector& frame) : CNovatelBinarySatsLog(frame) {}

CNovatelRTKSATSB::~CNovatelRTKSATSB() = default;

}  // namespace Novatel
