#pragma once
// Novatel::CNovatelBESTPOSB: the binary BESTPOS log, of which only the
// undulation is decoded. No length check: a frame too short for it gives 0.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOS.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelBESTPOSB : public CNovatelBinaryRecord, public virtual CNovatelBESTPOS {
public:
    explicit CNovatelBESTPOSB(const ByteVector& frame);
    ~CNovatelBESTPOSB() override;

protected:
    // Reads the undulation.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
