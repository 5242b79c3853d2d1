#pragma once
// Novatel::CNovatelBinaryGeodeticLog: decodes the geodetic solution body into
// CNovatelGeodeticLog's fields, turning latitude and longitude from the
// degrees the receiver sends into radians. The logs' own classes derive from it.
//
// There is no length check: a frame too short for the body leaves the fields
// that lie beyond its end at 0 (the base station ID empty).

#include "Logs/NovatelOEMV/NovatelBinary/NovatelGeodeticLog.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelBinaryGeodeticLog : public CNovatelBinaryRecord, public virtual CNovatelGeodeticLog {
public:
    explicit CNovatelBinaryGeodeticLog(const ByteVector& frame);
    ~CNovatelBinaryGeodeticLog() override;

protected:
    // Reads the geodetic body from the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
