#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUSB.h"

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The RXSTATUS body, in frame order (body offsets).
const size_t kErrorWordOffset = 0;             // unsigned 32
const size_t kNumberOfStatusGroupsOffset = 4;  // unsigned 32
const size_t kStatusGroupsOffset = 8;          // kStatusGroupSize bytes per group
const size_t kStatusGroupSize = 16;

// A status group, in frame order (offsets inside the group); all unsigned 32.
const size_t kStatusOffset = 0;
const size_t kPriorityMaskOffset = 4;
const size_t kEventSetMaskOffset = 8;
const size_t kEventClearMaskOffset = 12;

// The exit status of a process stopped by a malformed RXSTATUS log.
const int kMalformedLogExitStatus = 1;

}  // namespace

CNovatelRXSTATUSB::CNovatelRXSTATUSB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelRXSTATUSB::ParseSentenceData(frame);
}

CNovatelRXSTATUSB::~CNovatelRXSTATUSB() = default;

void CNovatelRXSTATUSB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_errorWord = ReadUInt32(sentenceData, body + kErrorWordOffset);
    m_numberOfStatusGroups = ReadUInt32(sentenceData, body + kNumberOfStatusGroupsOffset);
    // Never more entries than the frame could hold: a larger count fails the
    // check below anyway.
    m_statusGroups.resize(
        std::min<size_t>(m_numberOfStatusGroups, sentenceData.size() / kStatusGroupSize));
    // Computed wide so that no count can wrap it onto the frame's length.
    const bool lengthMatches =
        sentenceData.size() ==
        body + kStatusGroupsOffset +
            static_cast<uint64_t>(m_numberOfStatusGroups) * kStatusGroupSize + kNovatelCrcSize;
    if (!lengthMatches) {
        // Unlike the other logs this one ends the process with exit status 1
        // rather than an abort: deliberate and kept.
        std::printf(
            "CNovatelRXSTATUSB sentenceData.size() is %zd but expected (%d + 8 + (%d * 16) + 4)\n",
            static_cast<ssize_t>(sentenceData.size()), static_cast<int>(body),
            static_cast<int>(m_numberOfStatusGroups));
        MalformedLogExit(kMalformedLogExitStatus);
    }

    for (size_t i = 0; i < m_statusGroups.size(); ++i) {
        const size_t start = body + kStatusGroupsOffset + i * kStatusGroupSize;
        SStatusGroup& group = m_statusGroups[i];
        group.m_status = ReadUInt32(sentenceData, start + kStatusOffset);
        group.m_priorityMask = ReadUInt32(sentenceData, start + kPriorityMaskOffset);
        group.m_eventSetMask = ReadUInt32(sentenceData, start + kEventSetMaskOffset);
        group.m_eventClearMask = ReadUInt32(sentenceData, start + kEventClearMaskOffset);
    }
}

}  // namespace Novatel
