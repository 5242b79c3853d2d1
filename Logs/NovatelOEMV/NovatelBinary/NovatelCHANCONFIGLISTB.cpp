#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLISTB.h"

#include <algorithm>
#include <cstdint>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The CHANCONFIGLIST body, in frame order (body offsets).
const size_t kCurrentConfigSetOffset = 0;    // unsigned 32
const size_t kNumberOfConfigSetsOffset = 4;  // unsigned 32
const size_t kConfigSetsOffset = 8;          // the sets, one after the other

// A set, in frame order (offsets from the set's start).
const size_t kNumberSignalsOffset = 0;  // unsigned 32
const size_t kGroupsOffset = 4;         // kGroupSize bytes per group
const size_t kGroupSize = 8;
const size_t kSmallestSetSize = 4;  // a set without groups: its count alone

// A group, in frame order (offsets inside the group).
const size_t kNumberChannelsOffset = 0;  // unsigned 32
const size_t kSignalTypeOffset = 4;      // unsigned 32, enumeration

const char kParseConfigSetFunction[] =
    "size_t Novatel::CNovatelCHANCONFIGLISTB::ParseConfigSet(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&, size_t, "
    "Novatel::CNovatelCHANCONFIGLIST::SChannelConfigSet&)";

}  // namespace

CNovatelCHANCONFIGLISTB::CNovatelCHANCONFIGLISTB(const ByteVector& frame)
    : CNovatelBinaryRecord(frame) {
    CNovatelCHANCONFIGLISTB::ParseSentenceData(frame);
}

CNovatelCHANCONFIGLISTB::~CNovatelCHANCONFIGLISTB() = default;

void CNovatelCHANCONFIGLISTB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_currentConfigSet = ReadUInt32(sentenceData, body + kCurrentConfigSetOffset);
    m_numberOfConfigSets = ReadUInt32(sentenceData, body + kNumberOfConfigSetsOffset);
    // No more entries than sets could fit in the frame, and one: a larger count
    // then still reaches a set whose check ends the process.
    m_configSets.resize(
        std::min<size_t>(m_numberOfConfigSets, sentenceData.size() / kSmallestSetSize + 1));

    size_t startIndex = body + kConfigSetsOffset;
    for (size_t i = 0; i < m_configSets.size(); ++i) {
        m_configSets[i].set_number = static_cast<uint32_t>(i + 1);
        startIndex = ParseConfigSet(sentenceData, startIndex, m_configSets[i]);
    }
}

size_t CNovatelCHANCONFIGLISTB::ParseConfigSet(const ByteVector& sentenceData, size_t startIndex,
                                               SChannelConfigSet& set) {
    set.number_signals = ReadUInt32(sentenceData, startIndex + kNumberSignalsOffset);
    // Computed wide so that no count can wrap it below the frame's length.
    const uint64_t neededLength =
        static_cast<uint64_t>(set.number_signals) * kGroupSize + startIndex + kGroupsOffset;
    NOVATEL_CHECK_LENGTH(sentenceData.size() >= neededLength,
                         "sentenceData.size() >= (set.number_signals * 8) + startIndex + 4",
                         kParseConfigSetFunction);

    set.signals.resize(set.number_signals);
    for (size_t i = 0; i < set.signals.size(); ++i) {
        const size_t start = startIndex + kGroupsOffset + i * kGroupSize;
        set.signals[i].number_channels = ReadUInt32(sentenceData, start + kNumberChannelsOffset);
        set.signals[i].signal_type = ReadUInt32(sentenceData, start + kSignalTypeOffset);
    }
    return startIndex + kGroupsOffset + set.signals.size() * kGroupSize;
}

}  // namespace Novatel
