#pragma once
// Novatel::CNovatelVERSIONB: decodes the binary VERSION log into
// CNovatelVERSION.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSION.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelVERSIONB : public CNovatelBinaryRecord, public virtual CNovatelVERSION {
public:
    explicit CNovatelVERSIONB(const ByteVector& frame);
    ~CNovatelVERSIONB() override;

protected:
    // Reads the component count and checks the frame length against it: a
    // frame of any other length is reported with its bytes on standard error
    // and ends the process. Then decodes every component.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
