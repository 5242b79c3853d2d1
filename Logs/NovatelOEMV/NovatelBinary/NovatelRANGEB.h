#pragma once
// Novatel::CNovatelRANGEB: decodes the binary RANGE log into CNovatelRANGE.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGE.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelRANGEB : public CNovatelBinaryRecord, public virtual CNovatelRANGE {
public:
    explicit CNovatelRANGEB(const ByteVector& frame);
    ~CNovatelRANGEB() override;

protected:
    // Reads the observation count; a frame whose length does not match it is
    // reported on standard output and ends the process. Then decodes every
    // observation.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
