#include "Logs/NovatelOEMV/NovatelRecord.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

CNovatelRecord::~CNovatelRecord() = default;

ByteVector CNovatelRecord::GetSentenceData() const { return m_frame; }

void CNovatelRecord::SetFrame(const ByteVector& frame) {
    m_crcValid = HasValidCrc(frame);
    m_frame = frame;
}

}  // namespace Novatel
