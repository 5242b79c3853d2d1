#pragma once
// Novatel::CNovatelREFSTATIONB: decodes the binary REFSTATION log into
// CNovatelREFSTATION.
//
// There is no length check: fields beyond the end of a short frame read as 0
// (the station ID empty).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATION.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelREFSTATIONB : public CNovatelBinaryRecord, public virtual CNovatelREFSTATION {
public:
    explicit CNovatelREFSTATIONB(const ByteVector& frame);
    ~CNovatelREFSTATIONB() override;

protected:
    // Reads the position, the station type and the station ID from the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
