#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOSB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The one BESTPOS field decoded (body offset); the rest of the body is the
// geodetic solution, which the system takes from the Cartesian logs instead.
const size_t kUndulationOffset = 32;  // F32, metres

}  // namespace

CNovatelBESTPOSB::CNovatelBESTPOSB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelBESTPOSB::ParseSentenceData(frame);
}

CNovatelBESTPOSB::~CNovatelBESTPOSB() = default;

void CNovatelBESTPOSB::ParseSentenceData(const ByteVector& sentenceData) {
    m_undulation = ReadFloat(sentenceData, m_header.m_headerLength + kUndulationOffset);
}

}  // namespace Novatel
