#pragma once
// Novatel::CNovatelRTKSATSB: decodes the binary RTKSATS log (the common satellite
// list, CNovatelBinarySatsLog) into CNovatelRTKSATS.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinarySatsLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATS.h"

namespace Novatel {

class CNovatelRTKSATSB : public CNovatelBinarySatsLog, public virtual CNovatelRTKSATS {
public:
    // Decodes the list (CNovatelBinarySatsLog); RTKSATS adds no fields of its own.
    explicit CNovatelRTKSATSB(const ByteVector& frame);
    ~CNovatelRTKSATSB() override;
};

}  // namespace Novatel
