#pragma once
// Novatel::CNovatelLBANDINFOB: the binary LBANDINFO log. No length check: a
// frame too short for a field leaves it 0.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDINFO.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelLBANDINFOB : public CNovatelBinaryRecord, public virtual CNovatelLBANDINFO {
public:
    explicit CNovatelLBANDINFOB(const ByteVector& frame);
    ~CNovatelLBANDINFOB() override;

protected:
    // Reads the body's words in frame order.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
