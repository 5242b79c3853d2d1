#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The RANGE body, in frame order (body offsets).
const size_t kNumberOfObservationsOffset = 0;  // unsigned 32
const size_t kObservationsOffset = 4;          // kObservationSize bytes per observation
const size_t kObservationSize = 44;

// An observation, in frame order (offsets inside the observation).
const size_t kPrnOffset = 0;                  // unsigned 16
const size_t kGlonassFrequencyOffset = 2;     // unsigned 16
const size_t kPseudorangeOffset = 4;          // F64, metres
const size_t kPseudorangeStdDevOffset = 12;   // F32, metres
const size_t kCarrierPhaseOffset = 16;        // F64, cycles
const size_t kCarrierPhaseStdDevOffset = 24;  // F32, cycles
const size_t kDopplerOffset = 28;             // F32, hertz
const size_t kCarrierToNoiseOffset = 32;      // F32, dB-Hz
const size_t kLockTimeOffset = 36;            // F32, seconds
const size_t kTrackingStatusOffset = 40;      // unsigned 32

const char kParseFunction[] =
    "virtual void Novatel::CNovatelRANGEB::ParseSentenceData(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&)";

}  // namespace

CNovatelRANGEB::CNovatelRANGEB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelRANGEB::ParseSentenceData(frame);
}

CNovatelRANGEB::~CNovatelRANGEB() = default;

void CNovatelRANGEB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_numberOfObservations = ReadUInt32(sentenceData, body + kNumberOfObservationsOffset);
    // Never more entries than the frame could hold: a larger count fails the
    // check below anyway.
    m_observations.resize(
        std::min<size_t>(m_numberOfObservations, sentenceData.size() / kObservationSize));
    // Computed wide so that no count can wrap it onto the frame's length.
    const bool lengthMatches =
        sentenceData.size() ==
        body + kObservationsOffset +
            static_cast<uint64_t>(m_numberOfObservations) * kObservationSize + kNovatelCrcSize;
    if (!lengthMatches) {
        // The text names 16 where the count field takes 4: deliberate, kept
        // word for word.
        std::printf(
            "CNovatelRANGEB sentenceData.size() is %zd but expected (%d + 16 + (%d * 44) + 4)\n",
            static_cast<ssize_t>(sentenceData.size()), static_cast<int>(body),
            static_cast<int>(m_numberOfObservations));
        std::fflush(stdout);
    }
    NOVATEL_CHECK_LENGTH(lengthMatches,
                         "sentenceData.size() == (m_header.m_headerLength + 4 + "
                         "(m_numberOfObservations * 44) + 4)",
                         kParseFunction);

    for (size_t i = 0; i < m_observations.size(); ++i) {
        const size_t start = body + kObservationsOffset + i * kObservationSize;
        SObservation& observation = m_observations[i];
        observation.m_prn = ReadUInt16(sentenceData, start + kPrnOffset);
        observation.m_glonassFrequency = ReadUInt16(sentenceData, start + kGlonassFrequencyOffset);
        observation.m_pseudorange = ReadDouble(sentenceData, start + kPseudorangeOffset);
        observation.m_pseudorangeStdDev = ReadFloat(sentenceData, start + kPseudorangeStdDevOffset);
        observation.m_carrierPhase = ReadDouble(sentenceData, start + kCarrierPhaseOffset);
        observation.m_carrierPhaseStdDev =
            ReadFloat(sentenceData, start + kCarrierPhaseStdDevOffset);
        observation.m_doppler = ReadFloat(sentenceData, start + kDopplerOffset);
        observation.m_carrierToNoise = ReadFloat(sentenceData, start + kCarrierToNoiseOffset);
        observation.m_lockTime = ReadFloat(sentenceData, start + kLockTimeOffset);
        observation.m_trackingStatus = ReadUInt32(sentenceData, start + kTrackingStatusOffset);
    }
}

}  // namespace Novatel
