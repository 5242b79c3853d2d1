#pragma once
// Novatel::CNovatelBinarySatsLog: decodes the satellite list that RTKSATS and
// PDPSATS share into CNovatelSatsLog's fields. The logs' own classes derive
// from it.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelSatsLog.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelBinarySatsLog : public CNovatelBinaryRecord, public virtual CNovatelSatsLog {
public:
    explicit CNovatelBinarySatsLog(const ByteVector& frame);
    ~CNovatelBinarySatsLog() override;

protected:
    // Reads the entry count and every entry. A frame too short for the count
    // is ignored without a word: the list stays empty.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel
