#pragma once
// Novatel::CNovatelRXSTATUSB: decodes the binary RXSTATUS log into
// CNovatelRXSTATUS.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUS.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelRXSTATUSB : public CNovatelBinaryRecord, public virtual CNovatelRXSTATUS {
public:
    explicit CNovatelRXSTATUSB(const ByteVector& frame);
    ~CNovatelRXSTATUSB() override;

protected:
    // Reads the error word and the group count; a frame whose length does not
    // match the count is reported on standard output and the process exits
    // with status 1. Then decodes every group.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
