#pragma once
// Novatel::CNovatelTRACKSTATB: decodes the binary TRACKSTAT log into
// CNovatelTRACKSTAT.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTAT.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelTRACKSTATB : public CNovatelBinaryRecord, public virtual CNovatelTRACKSTAT {
public:
    explicit CNovatelTRACKSTATB(const ByteVector& frame);
    ~CNovatelTRACKSTATB() override;

protected:
    // Reads the fixed fields and the channel count; a frame whose length does
    // not match the count is reported on standard output and ends the process.
    // Then decodes every channel.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
