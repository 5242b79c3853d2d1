#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryResponse.h"

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The response body, in frame order (body offsets).
const size_t kResponseIDOffset = 0;    // unsigned 32
const size_t kResponseTextOffset = 4;  // text to the end of the body, no terminator

}  // namespace

CNovatelBinaryResponse::CNovatelBinaryResponse(const ByteVector& frame)
    : CNovatelBinaryRecord(frame) {
    CNovatelBinaryResponse::ParseSentenceData(frame);
}

CNovatelBinaryResponse::~CNovatelBinaryResponse() = default;

void CNovatelBinaryResponse::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    const size_t messageLength = m_header.m_messageLength;
    const size_t textLength =
        messageLength > kResponseTextOffset ? messageLength - kResponseTextOffset : 0;
    m_responseID = ReadUInt32(sentenceData, body + kResponseIDOffset);
    m_responseText = ExtractText(sentenceData, body + kResponseTextOffset, textLength, true);
}

}  // namespace Novatel
