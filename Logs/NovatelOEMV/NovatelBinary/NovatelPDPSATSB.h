#pragma once
// Novatel::CNovatelPDPSATSB: decodes the binary PDPSATS log (the common satellite
// list, CNovatelBinarySatsLog) into CNovatelPDPSATS.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinarySatsLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATS.h"

namespace Novatel {

class CNovatelPDPSATSB : public CNovatelBinarySatsLog, public virtual CNovatelPDPSATS {
public:
    // Decodes the list (CNovatelBinarySatsLog); PDPSATS adds no fields of its own.
    explicit CNovatelPDPSATSB(const ByteVector& frame);
    ~CNovatelPDPSATSB() override;
};

}  // namespace Novatel
