#pragma once
// Novatel::CNovatelOMNIHPPOSB: the binary OMNIHPPOS log. CNovatelBinaryGeodeticLog
// decodes its body, which holds nothing beyond the shared geodetic fields.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryGeodeticLog.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelOMNIHPPOS.h"

namespace Novatel {

class CNovatelOMNIHPPOSB : public CNovatelBinaryGeodeticLog, public virtual CNovatelOMNIHPPOS {
public:
    explicit CNovatelOMNIHPPOSB(const ByteVector& frame);
    ~CNovatelOMNIHPPOSB() override;
};

}  // namespace Novatel
