#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATSB.h"

namespace Novatel {

CNovatelPDPSATSB::CNovatelPDPSATSB(const ByteVector& frame) : CNovatelBinarySatsLog(frame) {}

CNovatelPDPSATSB::~CNovatelPDPSATSB() = default;

}  // namespace Novatel
