#pragma once
// Novatel::CNovatelTIMEB: decodes the binary TIME log into CNovatelTIME.
//
// There is no length check: fields beyond the end of a short frame read as 0.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIME.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelTIMEB : public CNovatelBinaryRecord, public virtual CNovatelTIME {
public:
    explicit CNovatelTIMEB(const ByteVector& frame);
    ~CNovatelTIMEB() override;

protected:
    // Reads the TIME body from the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
