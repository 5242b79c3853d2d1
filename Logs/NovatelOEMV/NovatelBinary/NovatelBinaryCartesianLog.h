#pragma once
// Novatel::CNovatelBinaryCartesianLog: decodes the Cartesian solution body
// that BESTXYZ, PSRXYZ, RTKXYZ and PDPXYZ share into CNovatelCartesianLog's
// fields. The logs' own classes derive from it.
//
// There is no length check: a frame too short for the body leaves the fields
// that lie beyond its end at 0 (the base station ID empty).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCartesianLog.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelBinaryCartesianLog : public CNovatelBinaryRecord,
                                   public virtual CNovatelCartesianLog {
public:
    explicit CNovatelBinaryCartesianLog(const ByteVector& frame);
    ~CNovatelBinaryCartesianLog() override;

protected:
    // Reads the Cartesian body from the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
