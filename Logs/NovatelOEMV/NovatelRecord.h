#pragma once
// Novatel::CNovatelRecord: any message from the NovAtel receiver. It holds the
// complete message as received (sync bytes to CRC) and whether its CRC was
// right when the record was made, and declares the time and identity that the
// receiver's message header supplies; the binary layer implements them.
//
// CGPSRecord and this class are virtual bases throughout the record tree, so a
// record holds one of each however many of its classes lead to them. Being
// virtual bases, both are default-constructed by the most derived class; the
// binary layer fills the frame in its own constructor.

#include <cstddef>
#include <cstdint>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "platform/Core/ByteVector.h"

namespace Novatel {

class CNovatelResponse;

class CNovatelRecord : public virtual CGPSRecord {
public:
    CNovatelRecord() = default;
    ~CNovatelRecord() override;

    // GPS week and seconds of week from the header; false when the CRC is wrong
    // (week and seconds are filled all the same).
    bool GetGPSTime(unsigned& week, double& seconds) const override = 0;
    // The header's GPS week.
    virtual uint16_t GetWeek() const = 0;
    // The header's milliseconds into the week, in seconds.
    virtual double GetSeconds() const = 0;
    // The header's message ID.
    uint16_t GetMessageID() const override = 0;
    // The header's receiver status word.
    virtual uint32_t GetReceiverStatus() const = 0;
    // The header's idle time (the receiver's idle processor time, half percent).
    virtual uint8_t GetIdleTime() const = 0;
    // A copy of the whole message, sync bytes to CRC.
    virtual ByteVector GetSentenceData() const;
    // A copy of the message body: the bytes after the header, as many as the
    // header's message length says but never beyond the body's end in the
    // message (the CRC is not part of the body).
    virtual ByteVector GetMessageBody() const = 0;
    // The byte count of GetMessageBody, for readers that need no more.
    virtual size_t GetMessageBodySize() const { return GetMessageBody().size(); }

    CNovatelRecord* AsNovatelRecord() override { return this; }
    // The record as a command response, or null for a log; cheaper than a
    // dynamic cast, like AsNovatelRecord.
    virtual CNovatelResponse* AsResponse() { return nullptr; }

    // Whether the message's CRC was right when the record was made.
    bool IsCrcValid() const { return m_crcValid; }

protected:
    // Keeps a copy of the message and checks its CRC.
    void SetFrame(const ByteVector& frame);

    ByteVector m_frame;
    bool m_crcValid = false;
};

}  // namespace Novatel
