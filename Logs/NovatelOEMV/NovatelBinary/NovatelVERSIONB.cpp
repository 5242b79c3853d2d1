#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSIONB.h"

#include <sys/types.h>

#include <cstdint>
#include <cstdio>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The VERSION body, in frame order (body offsets).
const size_t kNumberOfComponentsOffset = 0;  // unsigned 32
const size_t kComponentsOffset = 4;          // kComponentSize bytes per component
const size_t kComponentSize = 108;

// A component, in frame order (offsets inside the component).
const size_t kTypeOffset = 0;              // unsigned 32, enumeration
const size_t kModelOffset = 4;             // 16 characters
const size_t kSerialNumberOffset = 20;     // 16 characters
const size_t kHardwareVersionOffset = 36;  // 16 characters
const size_t kSoftwareVersionOffset = 52;  // 16 characters
const size_t kBootVersionOffset = 68;      // 16 characters
const size_t kCompileDateOffset = 84;      // 12 characters
const size_t kCompileTimeOffset = 96;      // 12 characters
const size_t kVersionTextSize = 16;
const size_t kCompileTextSize = 12;

// Besides the header and the components, a frame holds the count and the CRC.
const size_t kCountAndCrcSize = 8;
const size_t kDumpBytesPerLine = 16;

const char kParseFunction[] =
    "virtual void Novatel::CNovatelVERSIONB::ParseSentenceData(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&)";

// Shows a frame of the wrong length byte by byte, 16 to a line.
void DumpSentence(const ByteVector& sentenceData) {
    std::fprintf(stderr, "Sentence Data is as follows:\n");
    for (size_t i = 0; i < sentenceData.size(); ++i) {
        std::fprintf(stderr, "0x%02X", sentenceData[i]);
        if ((i + 1) % kDumpBytesPerLine == 0 || i + 1 == sentenceData.size()) {
            std::fprintf(stderr, "\n");
        }
    }
}

}  // namespace

CNovatelVERSIONB::CNovatelVERSIONB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelVERSIONB::ParseSentenceData(frame);
}

CNovatelVERSIONB::~CNovatelVERSIONB() = default;

void CNovatelVERSIONB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    const uint32_t numberOfComponents = ReadUInt32(sentenceData, body + kNumberOfComponentsOffset);
    // Computed wide so that no count can wrap it onto the frame's length.
    const uint64_t expectedLength =
        body + kCountAndCrcSize + static_cast<uint64_t>(numberOfComponents) * kComponentSize;
    const bool lengthMatches = sentenceData.size() == expectedLength;
    if (!lengthMatches) {
        std::fprintf(
            stderr, "NovatelVERSIONB: Unexpected length. Got %zd, expected %d from %d components\n",
            static_cast<ssize_t>(sentenceData.size()), static_cast<int>(expectedLength),
            static_cast<int>(numberOfComponents));
        DumpSentence(sentenceData);
    }
    NOVATEL_CHECK_LENGTH(lengthMatches,
                         "sentenceData.size() == (m_header.m_headerLength + 8 + "
                         "(numberOfComponents * 108))",
                         kParseFunction);

    m_components.resize(numberOfComponents);
    for (size_t i = 0; i < m_components.size(); ++i) {
        const size_t start = body + kComponentsOffset + i * kComponentSize;
        SComponent& component = m_components[i];
        component.m_type = ReadUInt32(sentenceData, start + kTypeOffset);
        component.m_model =
            ExtractText(sentenceData, start + kModelOffset, kVersionTextSize, false);
        component.m_serialNumber =
            ExtractText(sentenceData, start + kSerialNumberOffset, kVersionTextSize, false);
        component.m_hardwareVersion =
            ExtractText(sentenceData, start + kHardwareVersionOffset, kVersionTextSize, false);
        component.m_softwareVersion =
            ExtractText(sentenceData, start + kSoftwareVersionOffset, kVersionTextSize, false);
        component.m_bootVersion =
            ExtractText(sentenceData, start + kBootVersionOffset, kVersionTextSize, false);
        component.m_compileDate =
            ExtractText(sentenceData, start + kCompileDateOffset, kCompileTextSize, false);
        component.m_compileTime =
            ExtractText(sentenceData, start + kCompileTimeOffset, kCompileTextSize, false);
    }
}

}  // namespace Novatel
