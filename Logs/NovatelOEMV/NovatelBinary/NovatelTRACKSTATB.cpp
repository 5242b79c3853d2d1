#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The TRACKSTAT body, in frame order (body offsets).
const size_t kSolutionStatusOffset = 0;     // unsigned 32, enumeration
const size_t kPositionTypeOffset = 4;       // unsigned 32, enumeration
const size_t kElevationCutoffOffset = 8;    // F32, degrees
const size_t kNumberOfChannelsOffset = 12;  // unsigned 32
const size_t kChannelsOffset = 16;          // kChannelSize bytes per channel
const size_t kChannelSize = 40;

// A channel, in frame order (offsets inside the channel).
const size_t kPrnOffset = 0;                   // unsigned 16
const size_t kGlonassFrequencyOffset = 2;      // unsigned 16
const size_t kTrackingStatusOffset = 4;        // unsigned 32
const size_t kPseudorangeOffset = 8;           // F64, metres
const size_t kDopplerOffset = 16;              // F32, hertz
const size_t kCarrierToNoiseOffset = 20;       // F32, dB-Hz
const size_t kLockTimeOffset = 24;             // F32, seconds
const size_t kPseudorangeResidualOffset = 28;  // F32, metres
const size_t kRejectCodeOffset = 32;           // unsigned 32, enumeration
const size_t kPseudorangeWeightOffset = 36;    // F32

const char kParseFunction[] =
    "virtual void Novatel::CNovatelTRACKSTATB::ParseSentenceData(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&)";

}  // namespace

CNovatelTRACKSTATB::CNovatelTRACKSTATB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelTRACKSTATB::ParseSentenceData(frame);
}

CNovatelTRACKSTATB::~CNovatelTRACKSTATB() = default;

void CNovatelTRACKSTATB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_solutionStatus = ReadUInt32(sentenceData, body + kSolutionStatusOffset);
    m_positionType = ReadUInt32(sentenceData, body + kPositionTypeOffset);
    m_elevationCutoff = ReadFloat(sentenceData, body + kElevationCutoffOffset);
    m_numberOfChannels = ReadUInt32(sentenceData, body + kNumberOfChannelsOffset);
    // Never more entries than the frame could hold: a larger count fails the
    // check below anyway.
    m_channels.resize(std::min<size_t>(m_numberOfChannels, sentenceData.size() / kChannelSize));
    // Computed wide so that no count can wrap it onto the frame's length.
    const bool lengthMatches =
        sentenceData.size() == body + kChannelsOffset +
                                   static_cast<uint64_t>(m_numberOfChannels) * kChannelSize +
                                   kNovatelCrcSize;
    if (!lengthMatches) {
        std::printf(
            "CNovatelTRACKSTATB sentenceData.size() is %zd but expected (%d + 16 + (%d * 40) + "
            "4)\n",
            static_cast<ssize_t>(sentenceData.size()), static_cast<int>(body),
            static_cast<int>(m_numberOfChannels));
        std::fflush(stdout);
    }
    NOVATEL_CHECK_LENGTH(lengthMatches,
                         "sentenceData.size() == (m_header.m_headerLength + 16 + "
                         "(m_numberOfChannels * 40) + 4)",
                         kParseFunction);

    for (size_t i = 0; i < m_channels.size(); ++i) {
        const size_t start = body + kChannelsOffset + i * kChannelSize;
        SChannel& channel = m_channels[i];
        channel.m_prn = ReadUInt16(sentenceData, start + kPrnOffset);
        channel.m_glonassFrequency = ReadUInt16(sentenceData, start + kGlonassFrequencyOffset);
        channel.m_trackingStatus = ReadUInt32(sentenceData, start + kTrackingStatusOffset);
        channel.m_pseudorange = ReadDouble(sentenceData, start + kPseudorangeOffset);
        channel.m_doppler = ReadFloat(sentenceData, start + kDopplerOffset);
        channel.m_carrierToNoise = ReadFloat(sentenceData, start + kCarrierToNoiseOffset);
        channel.m_lockTime = ReadFloat(sentenceData, start + kLockTimeOffset);
        channel.m_pseudorangeResidual = ReadFloat(sentenceData, start + kPseudorangeResidualOffset);
        channel.m_rejectCode = ReadUInt32(sentenceData, start + kRejectCodeOffset);
        channel.m_pseudorangeWeight = ReadFloat(sentenceData, start + kPseudorangeWeightOffset);
    }
}

}  // namespace Novatel
