#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"

#include <algorithm>
#include <cstdint>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The PSRDOP body, in frame order (body offsets). The six values are sent as
// single-precision numbers and read as unsigned 32 (see CNovatelPSRDOP).
const size_t kGDOPOffset = 0;
const size_t kPDOPOffset = 4;
const size_t kHDOPOffset = 8;
const size_t kHTDOPOffset = 12;
const size_t kTDOPOffset = 16;
const size_t kElevationCutoffOffset = 20;
const size_t kNumberPRNsOffset = 24;  // unsigned 32
const size_t kPRNsOffset = 28;        // kPRNSize bytes per PRN
const size_t kPRNSize = 4;            // unsigned 32

const char kParseFunction[] =
    "virtual void Novatel::CNovatelPSRDOPB::ParseSentenceData(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&)";

}  // namespace

CNovatelPSRDOPB::CNovatelPSRDOPB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelPSRDOPB::ParseSentenceData(frame);
}

CNovatelPSRDOPB::~CNovatelPSRDOPB() = default;

void CNovatelPSRDOPB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_gdop = static_cast<double>(ReadUInt32(sentenceData, body + kGDOPOffset));
    m_pdop = static_cast<double>(ReadUInt32(sentenceData, body + kPDOPOffset));
    m_hdop = static_cast<double>(ReadUInt32(sentenceData, body + kHDOPOffset));
    m_htdop = static_cast<double>(ReadUInt32(sentenceData, body + kHTDOPOffset));
    m_tdop = static_cast<double>(ReadUInt32(sentenceData, body + kTDOPOffset));
    m_elevationCutoff =
        static_cast<double>(ReadUInt32(sentenceData, body + kElevationCutoffOffset));
    const uint32_t numberPRNs = ReadUInt32(sentenceData, body + kNumberPRNsOffset);
    m_numberPRNs = numberPRNs;
    // Never more entries than the frame could hold: a larger count fails the
    // check below anyway.
    m_prns.resize(std::min<size_t>(numberPRNs, sentenceData.size() / kPRNSize));
    // Computed wide so that no count can wrap it onto the frame's length.
    NOVATEL_CHECK_LENGTH(
        sentenceData.size() ==
            body + kPRNsOffset + static_cast<uint64_t>(numberPRNs) * kPRNSize + kNovatelCrcSize,
        "sentenceData.size() == (m_header.m_headerLength + 28 + (numberPRNs * 4) "
        "+ 4)",
        kParseFunction);

    for (size_t i = 0; i < m_prns.size(); ++i) {
        m_prns[i] = ReadUInt32(sentenceData, body + kPRNsOffset + i * kPRNSize);
    }
}

}  // namespace Novatel
