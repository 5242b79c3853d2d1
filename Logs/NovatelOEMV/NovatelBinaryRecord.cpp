#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

#include <algorithm>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"

namespace Novatel {

namespace {

// The binary header, in frame order.
const size_t kSyncOffset = 0;             // 3 x unsigned 8
const size_t kHeaderLengthOffset = 3;     // unsigned 8
const size_t kMessageIDOffset = 4;        // unsigned 16
const size_t kMessageTypeOffset = 6;      // unsigned 8
const size_t kPortAddressOffset = 7;      // unsigned 8
const size_t kMessageLengthOffset = 8;    // unsigned 16
const size_t kSequenceOffset = 10;        // unsigned 16
const size_t kIdleTimeOffset = 12;        // unsigned 8
const size_t kTimeStatusOffset = 13;      // unsigned 8, an enumeration
const size_t kWeekOffset = 14;            // unsigned 16
const size_t kMillisecondsOffset = 16;    // unsigned 32
const size_t kReceiverStatusOffset = 20;  // unsigned 32
const size_t kReservedOffset = 24;        // unsigned 16
const size_t kSoftwareBuildOffset = 26;   // unsigned 16

SBinaryHeader ParseHeader(const ByteVector& frame) {
    SBinaryHeader header;
    for (size_t i = 0; i < sizeof header.m_sync; ++i) {
        header.m_sync[i] = ReadUInt8(frame, kSyncOffset + i);
    }
    header.m_headerLength = ReadUInt8(frame, kHeaderLengthOffset);
    header.m_messageID = ReadUInt16(frame, kMessageIDOffset);
    header.m_messageType = ReadUInt8(frame, kMessageTypeOffset);
    header.m_portAddress = ReadUInt8(frame, kPortAddressOffset);
    header.m_messageLength = ReadUInt16(frame, kMessageLengthOffset);
    header.m_sequence = ReadUInt16(frame, kSequenceOffset);
    header.m_idleTime = ReadUInt8(frame, kIdleTimeOffset);
    header.m_timeStatus = ReadUInt8(frame, kTimeStatusOffset);
    header.m_week = ReadUInt16(frame, kWeekOffset);
    header.m_milliseconds = ReadUInt32(frame, kMillisecondsOffset);
    header.m_receiverStatus = ReadUInt32(frame, kReceiverStatusOffset);
    header.m_reserved = ReadUInt16(frame, kReservedOffset);
    header.m_softwareBuild = ReadUInt16(frame, kSoftwareBuildOffset);
    return header;
}

}  // namespace

CNovatelBinaryRecord::CNovatelBinaryRecord(const ByteVector& frame) : m_header(ParseHeader(frame)) {
    SetFrame(frame);
}

CNovatelBinaryRecord::~CNovatelBinaryRecord() = default;

bool CNovatelBinaryRecord::GetGPSTime(unsigned& week, double& seconds) const {
    week = GetWeek();
    seconds = GetSeconds();
    return m_crcValid;
}

uint16_t CNovatelBinaryRecord::GetWeek() const { return m_header.m_week; }

double CNovatelBinaryRecord::GetSeconds() const { return m_header.m_milliseconds / 1000.0; }

uint16_t CNovatelBinaryRecord::GetMessageID() const { return m_header.m_messageID; }

uint32_t CNovatelBinaryRecord::GetReceiverStatus() const { return m_header.m_receiverStatus; }

uint8_t CNovatelBinaryRecord::GetIdleTime() const { return m_header.m_idleTime; }

size_t CNovatelBinaryRecord::GetMessageBodySize() const {
    // The body ends at the CRC or where the header says, whichever comes first,
    // so a header that claims more than the frame holds reads no further.
    const size_t bodyStart = m_header.m_headerLength;
    const size_t crcStart =
        m_frame.size() >= kNovatelCrcSize ? m_frame.size() - kNovatelCrcSize : 0;
    if (bodyStart >= crcStart) return 0;
    return std::min<size_t>(m_header.m_messageLength, crcStart - bodyStart);
}

ByteVector CNovatelBinaryRecord::GetMessageBody() const {
    const auto begin = m_frame.begin() + static_cast<std::ptrdiff_t>(m_header.m_headerLength);
    return ByteVector(begin, begin + static_cast<std::ptrdiff_t>(GetMessageBodySize()));
}

int CNovatelBinaryRecord::GetTimeStatus() const { return m_header.m_timeStatus; }

void CNovatelBinaryRecord::ParseSentenceData(const ByteVector& /*sentenceData*/) {}

}  // namespace Novatel
