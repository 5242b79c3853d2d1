#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The PDPSTAT body, in frame order (body offsets).
const size_t kWordsOffset = 0;  // kNumberOfWords x unsigned 32
const size_t kWordSize = 4;
const size_t kValuesOffset = 20;  // kNumberOfValues x F64
const size_t kValueSize = 8;

}  // namespace

CNovatelPDPSTATB::CNovatelPDPSTATB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelPDPSTATB::ParseSentenceData(frame);
}

CNovatelPDPSTATB::~CNovatelPDPSTATB() = default;

void CNovatelPDPSTATB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    for (size_t i = 0; i < kNumberOfWords; ++i) {
        m_words[i] = ReadUInt32(sentenceData, body + kWordsOffset + i * kWordSize);
    }
    for (size_t i = 0; i < kNumberOfValues; ++i) {
        m_values[i] = ReadDouble(sentenceData, body + kValuesOffset + i * kValueSize);
    }
}

}  // namespace Novatel
