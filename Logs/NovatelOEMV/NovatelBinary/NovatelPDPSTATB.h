#pragma once
// Novatel::CNovatelPDPSTATB: decodes the binary PDPSTAT log into
// CNovatelPDPSTAT.
//
// There is no length check: fields beyond the end of a short frame read as 0.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelPDPSTATB : public CNovatelBinaryRecord, public virtual CNovatelPDPSTAT {
public:
    explicit CNovatelPDPSTATB(const ByteVector& frame);
    ~CNovatelPDPSTATB() override;

protected:
    // Reads the five words and the three values from the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
