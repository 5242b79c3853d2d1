#pragma once
// Novatel::CNovatelCOMCONFIGB: decodes the binary COMCONFIG log into
// CNovatelCOMCONFIG.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIG.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelCOMCONFIGB : public CNovatelBinaryRecord, public virtual CNovatelCOMCONFIG {
public:
    explicit CNovatelCOMCONFIGB(const ByteVector& frame);
    ~CNovatelCOMCONFIGB() override;

protected:
    // Reads the port count; a frame whose length does not match it ends the
    // process. Then decodes every port.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
