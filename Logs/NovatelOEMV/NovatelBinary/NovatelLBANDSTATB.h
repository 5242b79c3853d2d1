#pragma once
// Novatel::CNovatelLBANDSTATB: the binary LBANDSTAT log. No length check: a
// frame too short for a field leaves it 0.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelLBANDSTATB : public CNovatelBinaryRecord, public virtual CNovatelLBANDSTAT {
public:
    explicit CNovatelLBANDSTATB(const ByteVector& frame);
    ~CNovatelLBANDSTATB() override;

protected:
    // Reads the body and decodes its four status words.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
