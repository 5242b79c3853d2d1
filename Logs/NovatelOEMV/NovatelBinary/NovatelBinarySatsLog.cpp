#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinarySatsLog.h"

#include <cstdint>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The satellite list body, in frame order (body offsets).
const size_t kNumberOfEntriesOffset = 0;  // unsigned 32
const size_t kEntriesOffset = 4;          // kEntrySize bytes per entry
const size_t kEntrySize = 16;

// An entry, in frame order (offsets inside the entry).
const size_t kSystemOffset = 0;            // unsigned 32, enumeration
const size_t kSatelliteIDOffset = 4;       // unsigned 16
const size_t kFrequencyChannelOffset = 6;  // unsigned 16, signed for GLONASS
const size_t kStatusOffset = 8;            // unsigned 32
const size_t kSignalMaskOffset = 12;       // unsigned 32

// GLONASS sends its frequency channel as a 16-bit two's complement number.
const uint32_t kGlonassSystem = 1;
const uint32_t kSigned16Limit = 32767;
const int32_t kSigned16Range = 65536;

}  // namespace

CNovatelBinarySatsLog::CNovatelBinarySatsLog(const ByteVector& frame)
    : CNovatelBinaryRecord(frame) {
    CNovatelBinarySatsLog::ParseSentenceData(frame);
}

CNovatelBinarySatsLog::~CNovatelBinarySatsLog() = default;

void CNovatelBinarySatsLog::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    const uint32_t numberOfEntries = ReadUInt32(sentenceData, body + kNumberOfEntriesOffset);
    // The count, the entries and the CRC must fit; the frame may hold more.
    // Computed wide so that no count can wrap it under the frame's length.
    const uint64_t neededLength = body + kEntriesOffset +
                                  static_cast<uint64_t>(numberOfEntries) * kEntrySize +
                                  kNovatelCrcSize;
    if (sentenceData.size() < neededLength) return;

    m_satellites.resize(numberOfEntries);
    for (size_t i = 0; i < m_satellites.size(); ++i) {
        const size_t start = body + kEntriesOffset + i * kEntrySize;
        SSatellite& satellite = m_satellites[i];
        satellite.m_system = ReadUInt32(sentenceData, start + kSystemOffset);
        satellite.m_satelliteID = ReadUInt16(sentenceData, start + kSatelliteIDOffset);
        const uint16_t channel = ReadUInt16(sentenceData, start + kFrequencyChannelOffset);
        satellite.m_frequencyChannel =
            satellite.m_system == kGlonassSystem && channel > kSigned16Limit
                ? channel - kSigned16Range
                : channel;
        satellite.m_status = ReadUInt32(sentenceData, start + kStatusOffset);
        satellite.m_signalMask = ReadUInt32(sentenceData, start + kSignalMaskOffset);
    }
}

}  // namespace Novatel
