#pragma once
// Novatel::CNovatelBinaryRecord: any NovAtel binary message. It parses the
// 28-byte binary header into m_header and answers time and identity from it;
// the factory uses it as it is for message IDs that have no class of their own,
// so observers still see those messages' time and ID.
//
// A log class derives from it (or from an intermediate class that does), adds
// its fields and overrides ParseSentenceData, which its own constructor calls
// once with the frame, qualified with its own class name
// (CNovatelRANGEB::ParseSentenceData(frame)): during construction a virtual
// call cannot reach a class further down, so each class that decodes a body
// calls its own. Body fields lie at frame offset m_header.m_headerLength + body
// offset.

#include <cstdint>

#include "Logs/NovatelOEMV/NovatelRecord.h"
#include "platform/Core/ByteVector.h"

namespace Novatel {

// The NovAtel binary header, in frame order. Every field is read from frame
// bytes 0 to 27 whatever the header length says; a field beyond the end of a
// short frame is 0.
struct SBinaryHeader {
    uint8_t m_sync[3];          // 0xAA 0x44 0x12
    uint8_t m_headerLength;     // bytes from the first sync byte to the body
    uint16_t m_messageID;       // the log's ID
    uint8_t m_messageType;      // bit 7 (kResponseMessageBit) marks a command response
    uint8_t m_portAddress;      // the receiver port the message left by
    uint16_t m_messageLength;   // body bytes, the CRC not counted
    uint16_t m_sequence;        // messages still to come with the same time
    uint8_t m_idleTime;         // idle processor time, half percent
    int m_timeStatus;           // the receiver's GPS time status enumeration (180 fine steering)
    uint16_t m_week;            // GPS week number
    uint32_t m_milliseconds;    // milliseconds into the GPS week
    uint32_t m_receiverStatus;  // receiver status word
    uint16_t m_reserved;        // unused
    uint16_t m_softwareBuild;   // receiver software build number
};

// Bit 7 of the message type: the message answers a command.
const uint8_t kResponseMessageBit = 0x80;

class CNovatelBinaryRecord : public virtual CNovatelRecord {
public:
    // Parses the header, checks the CRC and keeps a copy of the frame. Never
    // refuses a frame: whatever is missing from a short one reads as 0.
    explicit CNovatelBinaryRecord(const ByteVector& frame);
    ~CNovatelBinaryRecord() override;

    bool GetGPSTime(unsigned& week, double& seconds) const override;
    uint16_t GetWeek() const override;
    double GetSeconds() const override;
    uint16_t GetMessageID() const override;
    uint32_t GetReceiverStatus() const override;
    uint8_t GetIdleTime() const override;
    ByteVector GetMessageBody() const override;
    // Counted without copying the body.
    size_t GetMessageBodySize() const override;
    // The header's time status.
    int GetTimeStatus() const override;

    // The parsed header, read-only.
    const SBinaryHeader& GetHeader() const { return m_header; }

protected:
    // Fills a log class's fields from its frame; the plain record has no body
    // to decode. Each log class overrides it and calls it from its constructor.
    virtual void ParseSentenceData(const ByteVector& sentenceData);

    const SBinaryHeader m_header;
};

}  // namespace Novatel
