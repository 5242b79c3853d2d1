#pragma once
// Novatel::CNovatelPSRDOPB: decodes the binary PSRDOP log into CNovatelPSRDOP.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOP.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelPSRDOPB : public CNovatelBinaryRecord, public virtual CNovatelPSRDOP {
public:
    explicit CNovatelPSRDOPB(const ByteVector& frame);
    ~CNovatelPSRDOPB() override;

protected:
    // Reads the six values as unsigned integers and the PRN count; a frame
    // whose length does not match the count ends the process. Then reads every
    // PRN.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
