#include "Logs/NovatelOEMV/NovatelBinary/NovatelOMNIHPPOSB.h"

namespace Novatel {

CNovatelOMNIHPPOSB::CNovatelOMNIHPPOSB(const ByteVector& frame)
    : CNovatelBinaryGeodeticLog(frame) {}

CNovatelOMNIHPPOSB::~CNovatelOMNIHPPOSB() = default;

}  // namespace Novatel
